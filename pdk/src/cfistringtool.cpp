#include "cfistringtool.h"

#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "cfiicuconvert.h"

namespace orca_pdk_4_4 {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;
constexpr uint32_t kHighestPoint = 0x10FFFF;

// A malloc block with a copy of count elements and a terminator after them; null without memory.
template <class Char>
Char* copyOf(const Char* text, std::size_t count) {
  if (text == nullptr) return nullptr;
  auto* copy = static_cast<Char*>(std::malloc((count + 1) * sizeof(Char)));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text, count * sizeof(Char));
  copy[count] = Char();
  return copy;
}

void appendUtf8(std::string& bytes, wchar_t character) {
  const bool valid =
      static_cast<uint32_t>(character) <= kHighestPoint && !U_IS_SURROGATE(character);
  const UChar32 point = valid ? character : kReplacement;
  char buffer[U8_MAX_LENGTH];
  int length = 0;
  U8_APPEND_UNSAFE(buffer, length, point);
  bytes.append(buffer, length);
}

std::wstring wideForm(const char* bytes, std::size_t size) {
  std::wstring wide;
  wide.reserve(size);
  const auto length = static_cast<std::ptrdiff_t>(size);
  for (std::ptrdiff_t i = 0; i < length;) {
    UChar32 point;
    U8_NEXT_OR_FFFD(bytes, i, length, point);
    wide.push_back(static_cast<wchar_t>(point));
  }
  return wide;
}

icu::UnicodeString unicodeForm(const char* bytes, std::size_t length) {
  icu::UnicodeString text;
  unicodeFromUtf8(bytes, length, text);
  return text;
}

}  // namespace

std::string CFiStringTool::tstr2str(const tstr& text) {
  return text.c_str() == nullptr ? std::string() : std::string(text.c_str(), text.length());
}

tstr CFiStringTool::str2tstr(const std::string& text) { return tstr(text.data(), text.size()); }

std::string CFiStringTool::wstr2str(const std::wstring& text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const wchar_t character : text) appendUtf8(bytes, character);
  return bytes;
}

std::wstring CFiStringTool::str2wstr(const std::string& text) {
  return wideForm(text.data(), text.size());
}

std::string CFiStringTool::wcs2mbs(const std::wstring& text) { return wstr2str(text); }

std::wstring CFiStringTool::mbs2wcs(const std::string& text) { return str2wstr(text); }

tstr CFiStringTool::wstr2tstr(const std::wstring& text) { return str2tstr(wstr2str(text)); }

std::wstring CFiStringTool::tstr2wstr(const tstr& text) {
  return wideForm(text.c_str(), text.length());
}

icu::UnicodeString CFiStringTool::str2ustr(const std::string& text) {
  return unicodeForm(text.data(), text.size());
}

icu::UnicodeString CFiStringTool::tstr2ustr(const tstr& text) {
  return unicodeForm(text.c_str(), text.length());
}

std::string CFiStringTool::ustr2str(const icu::UnicodeString& text) {
  std::string bytes;
  utf8FromUnicode(text, bytes);
  return bytes;
}

tstr CFiStringTool::ustr2tstr(const icu::UnicodeString& text) { return str2tstr(ustr2str(text)); }

char* CFiStringTool::strdup(const char* text) {
  return text == nullptr ? nullptr : copyOf(text, std::strlen(text));
}

wchar_t* CFiStringTool::wstrdup(const wchar_t* text) {
  return text == nullptr ? nullptr : copyOf(text, std::wcslen(text));
}

char* CFiStringTool::tstrdup(const tstr& text) { return copyOf(text.c_str(), text.length()); }

char** CFiStringTool::tstrduplist(const std::vector<tstr>& list) {
  auto** copies = static_cast<char**>(std::calloc(list.size() + 1, sizeof(char*)));
  if (copies == nullptr) return nullptr;
  for (std::size_t i = 0; i < list.size(); ++i) {
    copies[i] = tstrdup(list[i]);
    if (copies[i] == nullptr) {
      tstrfreelist(copies);
      return nullptr;
    }
  }
  return copies;
}

void CFiStringTool::tstrfreelist(char**& list) {
  if (list == nullptr) return;
  for (char** entry = list; *entry != nullptr; ++entry) std::free(*entry);
  std::free(list);
  list = nullptr;
}

}  // namespace orca_pdk_4_4
