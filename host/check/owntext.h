#ifndef FIHOST_CHECK_OWNTEXT_H
#define FIHOST_CHECK_OWNTEXT_H

#include <string>

namespace fihost::check {

// Whether a provider's catalog has the text of a message id in that language itself: in the bundle
// of the language, or for one of a region ("de_CH") in that of its language, but not in the root,
// which stands in for every text that is missing.
bool hasOwnText(const std::string& provider, std::string language, const std::string& messageId);

}  // namespace fihost::check

#endif
