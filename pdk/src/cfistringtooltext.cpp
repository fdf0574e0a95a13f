#include <cctype>
#include <cstddef>
#include <cstring>
#include <cwctype>

#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr char kWhiteSpace[] = " \n\t\r";

// The character functions of both widths; narrow characters go through unsigned char.
int lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }
int upper(char c) { return std::toupper(static_cast<unsigned char>(c)); }
bool isLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
wint_t lower(wchar_t c) { return std::towlower(static_cast<wint_t>(c)); }
wint_t upper(wchar_t c) { return std::towupper(static_cast<wint_t>(c)); }
bool isLetter(wchar_t c) { return std::iswalpha(static_cast<wint_t>(c)) != 0; }

template <class Text>
Text lowerForm(Text text) {
  for (auto& c : text) c = static_cast<typename Text::value_type>(lower(c));
  return text;
}

template <class Text>
Text upperForm(Text text) {
  for (auto& c : text) c = static_cast<typename Text::value_type>(upper(c));
  return text;
}

template <class Char>
bool sameLetter(Char a, Char b) {
  return a == b || (isLetter(a) && isLetter(b) && upper(a) == upper(b));
}

template <class Text>
bool sameText(const Text& a, const Text& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!sameLetter(a[i], b[i])) return false;
  }
  return true;
}

// The length of the text without the trailing characters of a set.
std::size_t trimmedLength(const std::string& text, const char* set) {
  const std::size_t last = text.find_last_not_of(set);
  return last == std::string::npos ? 0 : last + 1;
}

}  // namespace

std::string CFiStringTool::ltrim(const std::string& text, const char* set) {
  if (set == nullptr) return text;
  const std::size_t first = text.find_first_not_of(set);
  return first == std::string::npos ? std::string() : text.substr(first);
}

std::string CFiStringTool::rtrim(const std::string& text, const char* set) {
  return set == nullptr ? text : text.substr(0, trimmedLength(text, set));
}

std::string CFiStringTool::trim(const std::string& text, const char* set) {
  return rtrim(ltrim(text, set), set);
}

std::string CFiStringTool::tostrlower(const std::string& text) { return lowerForm(text); }

std::string CFiStringTool::tostrupper(const std::string& text) { return upperForm(text); }

std::wstring CFiStringTool::tostrlower(const std::wstring& text) { return lowerForm(text); }

std::wstring CFiStringTool::tostrupper(const std::wstring& text) { return upperForm(text); }

bool CFiStringTool::CompareNoCase(const std::string& a, const std::string& b) {
  return sameText(a, b);
}

bool CFiStringTool::CompareNoCase(const std::wstring& a, const std::wstring& b) {
  return sameText(a, b);
}

bool CFiStringTool::isDigit(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

bool CFiStringTool::isIpAddress(const std::string& text) {
  const std::vector<std::string> fields = tokenize(text, ".");
  if (fields.size() != 4) return false;
  for (const std::string& field : fields) {
    if (!isDigit(field)) return false;
  }
  return true;
}

bool CFiStringTool::find(const std::vector<std::string>& list, const std::string& text,
                         unsigned int& index, bool trim) {
  for (index = 0; index < list.size(); ++index) {
    const std::string& element = list[index];
    const bool found = trim ? rtrim(element, kWhiteSpace).find(text) != std::string::npos
                            : element.find(text) != std::string::npos;
    if (found) return true;
  }
  return false;
}

std::string CFiStringTool::searchreplace(const std::string& text, const std::string& from,
                                         const std::string& to) {
  if (from.empty()) return text;
  std::string result;
  std::size_t start = 0;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, start)) {
    result.append(text, start, at - start).append(to);
    start = at + from.size();
  }
  return result.append(text, start);
}

std::vector<std::string> CFiStringTool::tokenize(const std::string& text,
                                                 const std::string& delimiters) {
  std::vector<std::string> fields;
  const char* const set = delimiters.c_str();
  const char* field = text.c_str() + std::strspn(text.c_str(), set);
  while (*field != '\0') {
    const std::size_t length = std::strcspn(field, set);
    fields.emplace_back(field, length);
    field += length;
    field += std::strspn(field, set);
  }
  return fields;
}

}  // namespace orca_pdk_4_4
