#ifndef FIRECORD_SECRETS_H
#define FIRECORD_SECRETS_H

#include <string>
#include <vector>

#include "call.h"

namespace firecord {

// Words that nobody may read in a recording. "***" stands in their place.
class Secrets {
 public:
  // Empty words are left out.
  explicit Secrets(std::vector<std::string> words);

  // Replaces them in the arguments and what the tool wrote; also where a word came in pieces.
  void hide(Call& call) const;
  void hide(std::vector<std::string>& arguments) const;

 private:
  std::size_t matchAt(const std::string& text, std::size_t at) const;
  std::string hidden(const std::string& text, std::size_t& at, std::size_t end) const;
  void hide(std::vector<Piece>& output, bool isError) const;

  std::vector<std::string> m_words;  // longest first
};

}  // namespace firecord

#endif
