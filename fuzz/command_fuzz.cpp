// Splits fuzzed command texts: words never grow, lie within the text in their order, and a word
// that is quoted again comes back unchanged.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cficommandwords.h"

using namespace orca_pdk_4_4;

namespace {

std::string unquoted(std::string_view word) {
  std::string text(word.size(), '\0');
  text.resize(unquoteCommandWord(word, text.data()));
  return text;
}

std::string quotedAgain(const std::string& text) {
  std::string quoted = "''";
  for (const char c : text) quoted += {'\\', c};
  return quoted;
}

void checkRoundTrip(const std::string& argument) {
  const std::string text = quotedAgain(argument);
  const char* position = text.c_str();
  std::string_view word;
  if (findCommandWord(position, word) != EFiWord::FOUND || unquoted(word) != argument) std::abort();
  if (findCommandWord(position, word) != EFiWord::END) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* position = text.c_str();
  const char* last = position;
  std::string_view word;
  while (findCommandWord(position, word) == EFiWord::FOUND) {
    if (word.empty() || word.data() < last || position != word.data() + word.size()) std::abort();
    last = position;
    checkRoundTrip(unquoted(word));
  }
  return 0;
}
