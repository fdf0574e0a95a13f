#include "check/owntext.h"

#include <unicode/ures.h>

#include <memory>

#include "framework/installroot.h"

namespace fihost::check {

namespace {

struct CloseBundle {
  void operator()(UResourceBundle* bundle) const { ures_close(bundle); }
};
using Bundle = std::unique_ptr<UResourceBundle, CloseBundle>;

// ICU itself would go on to the root.
bool isIn(const std::string& folder, const std::string& language, const std::string& messageId) {
  UErrorCode status = U_ZERO_ERROR;
  const Bundle bundle(ures_openDirect(folder.c_str(), language.c_str(), &status));
  if (status != U_ZERO_ERROR) return false;
  int32_t length = 0;
  ures_getStringByKey(bundle.get(), messageId.c_str(), &length, &status);
  return status == U_ZERO_ERROR && length > 0;
}

}  // namespace

bool hasOwnText(const std::string& provider, std::string language, const std::string& messageId) {
  const std::string folder = installRoot() + "/resources/lib" + provider;
  while (!isIn(folder, language, messageId)) {
    const std::size_t region = language.rfind('_');
    if (region == std::string::npos) return false;
    language.resize(region);
  }
  return true;
}

}  // namespace fihost::check
