#include "cficommandwords.h"

#include <cstring>

namespace orca_pdk_4_4 {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

bool isQuote(char c) { return c == '"' || c == '\''; }

// The place after an element of a word: a character, a backslash pair or a quoted stretch. Null
// when the element has no end.
const char* skipElement(const char* position) {
  if (*position == '\\') return position[1] == '\0' ? nullptr : position + 2;
  if (!isQuote(*position)) return position + 1;
  const char* end = std::strchr(position + 1, *position);
  return end == nullptr ? nullptr : end + 1;
}

}  // namespace

EFiWord findCommandWord(const char*& position, std::string_view& word) {
  while (isBlank(*position)) ++position;
  if (*position == '\0') return EFiWord::END;
  const char* start = position;
  while (*position != '\0' && !isBlank(*position)) {
    const char* next = skipElement(position);
    if (next == nullptr) return EFiWord::BROKEN;
    position = next;
  }
  word = std::string_view(start, static_cast<std::size_t>(position - start));
  return EFiWord::FOUND;
}

std::size_t unquoteCommandWord(std::string_view word, char* target) {
  char* out = target;
  char quote = '\0';
  for (std::size_t i = 0; i < word.size(); ++i) {
    const char c = word[i];
    if (quote != '\0' ? c == quote : isQuote(c)) {
      quote = quote != '\0' ? '\0' : c;
    } else if (quote == '\0' && c == '\\' && i + 1 < word.size()) {
      *out++ = word[++i];
    } else {
      *out++ = c;
    }
  }
  return static_cast<std::size_t>(out - target);
}

}  // namespace orca_pdk_4_4
