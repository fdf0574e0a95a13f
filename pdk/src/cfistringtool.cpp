#include "cfistringtool.h"

#include <V_strings.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <new>
#include <string_view>

#include "cfiicuconvert.h"
#include "cfitstr.h"
#include "cfixmlescape.h"

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

constexpr int kDecimal = 10;

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

struct Entity {
  char character;
  std::string_view text;
};

// Every entity starts with the only "&" and ends with the only ";" in it, and none holds a special
// character apart from that "&". So replacing one kind after the other, "&" first on the way in and
// last on the way back, finds the same places as one pass over the original text.
constexpr Entity kEntities[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};

// By character: 1 + its position in kEntities, or 0.
constexpr std::array<unsigned char, 256> kEntityNumbers = [] {
  std::array<unsigned char, 256> numbers{};
  unsigned char number = 0;
  for (const Entity& entity : kEntities) {
    numbers[static_cast<unsigned char>(entity.character)] = ++number;
  }
  return numbers;
}();

std::string_view view(const char* p, const char* end) {
  return {p, static_cast<std::size_t>(end - p)};
}

unsigned char entityNumber(char c) { return kEntityNumbers[static_cast<unsigned char>(c)]; }

// The entity that stands at p, where an "&" was found; null when there is none.
const Entity* entityAt(const char* p, const char* end) {
  for (const Entity& entity : kEntities) {
    if (view(p, end).starts_with(entity.text)) return &entity;
  }
  return nullptr;
}

const char* findAmpersand(const char* p, const char* end) {
  return p + std::min(view(p, end).find('&'), view(p, end).size());
}

constexpr int kHexadecimal = 16;
constexpr int kByteDigits = 2;

void appendHex(std::string& digits, unsigned int value) {
  char piece[64];
  V_snprintf(piece, sizeof piece, "%02x", value);
  digits += piece;
}

// What every unique id starts with.
std::string uidPrefix(unsigned int prefix) {
  char uid[64];
  V_snprintf(uid, sizeof uid, "%04x", prefix);
  return uid;
}

long parseHex(const char* piece) { return std::strtol(piece, nullptr, kHexadecimal); }
long parseHex(const wchar_t* piece) { return std::wcstol(piece, nullptr, kHexadecimal); }

template <class Text>
void parseBytes(unsigned char* bytes, int* count, const Text& text) {
  const std::size_t pieces = bytes == nullptr ? 0 : text.size() / kByteDigits;
  for (std::size_t i = 0; i < pieces; ++i) {
    const typename Text::value_type piece[] = {text[i * kByteDigits], text[i * kByteDigits + 1], 0};
    bytes[i] = static_cast<unsigned char>(parseHex(piece));
  }
  if (count != nullptr) *count = static_cast<int>(pieces);
}

}  // namespace

void appendXmlEscaped(std::string& out, std::string_view text) {
  const char* p = text.data();
  const char* const end = p + text.size();
  while (true) {
    const char* const plain = p;
    while (p != end && entityNumber(*p) == 0) ++p;
    out += view(plain, p);
    if (p == end) return;
    out += kEntities[entityNumber(*p++) - 1].text;
  }
}

std::string CFiStringTool::tstr2str(const tstr& text) {
  if (text.c_str() == nullptr) throw std::bad_alloc();  // an ACE string that got no memory
  return std::string(text.c_str(), text.length());
}

tstr CFiStringTool::str2tstr(const std::string& text) { return makeTstr(text); }

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

std::string CFiStringTool::int2str(int value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%d", value);
  return digits;
}

std::string CFiStringTool::int2str(long value) {
  char digits[128];
  V_snprintf(digits, sizeof digits, "%ld", value);
  return digits;
}

std::string CFiStringTool::uint2str(unsigned int value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%u", value);
  return digits;
}

std::string CFiStringTool::uint2str(unsigned long value) {
  char digits[128];
  V_snprintf(digits, sizeof digits, "%lu", value);
  return digits;
}

std::string CFiStringTool::double2str(double value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%g", value);
  return digits;
}

std::string CFiStringTool::float2str(float value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%f", static_cast<double>(value));
  return digits;
}

std::wstring CFiStringTool::int2wstr(int value) { return str2wstr(int2str(value)); }

std::wstring CFiStringTool::int2wstr(long value) { return str2wstr(int2str(value)); }

std::wstring CFiStringTool::uint2wstr(unsigned int value) { return str2wstr(uint2str(value)); }

std::wstring CFiStringTool::uint2wstr(unsigned long value) { return str2wstr(uint2str(value)); }

std::string CFiStringTool::bool2str(bool value) { return value ? "true" : "false"; }

int CFiStringTool::str2int(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, kDecimal));
}

void CFiStringTool::str2int(const std::string& text, int& value) { value = str2int(text); }

unsigned int CFiStringTool::str2uint(const std::string& text) {
  return static_cast<unsigned int>(std::strtoul(text.c_str(), nullptr, kDecimal));
}

void CFiStringTool::str2uint(const std::string& text, unsigned int& value) {
  value = str2uint(text);
}

void CFiStringTool::str2uint64(const std::string& text, unsigned long& value) {
  value = std::strtoull(text.c_str(), nullptr, kDecimal);
}

double CFiStringTool::str2double(const std::string& text) {
  return std::strtod(text.c_str(), nullptr);
}

void CFiStringTool::str2double(const std::string& text, double& value) { value = str2double(text); }

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

std::wstring CFiStringTool::tostrlower(const std::wstring& text) { return lowerForm(text); }

std::string CFiStringTool::tostrupper(const std::string& text) { return upperForm(text); }

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

std::string CFiStringTool::convertToXmlSpecialCharacters(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size() + text.size() / 4);
  appendXmlEscaped(escaped, text);
  return escaped;
}

std::string CFiStringTool::convertFromXmlSpecialCharacters(const std::string& text) {
  const char* p = text.data();
  const char* const end = p + text.size();
  std::string plain;
  plain.reserve(text.size());
  for (const char* mark = findAmpersand(p, end); mark != end; mark = findAmpersand(p, end)) {
    const Entity* const entity = entityAt(mark, end);
    plain.append(view(p, mark)) += entity == nullptr ? '&' : entity->character;
    p = mark + (entity == nullptr ? 1 : entity->text.size());
  }
  return plain.append(view(p, end));
}

std::string CFiStringTool::xmlBracket(const std::string& name, bool open, bool newline) {
  return (open ? "<" : "</") + name + (newline ? ">\n" : ">");
}

std::string CFiStringTool::xmlBracketValue(const std::string& name, const std::string& value) {
  return std::string("\t") + xmlBracket(name, true, false) + convertToXmlSpecialCharacters(value) +
         xmlBracket(name, false, true);
}

std::string CFiStringTool::binary2str(const unsigned char* bytes, unsigned int count) {
  std::string digits;
  if (bytes == nullptr) return digits;
  digits.reserve(std::size_t{count} * kByteDigits);
  for (unsigned int i = 0; i < count; ++i) appendHex(digits, bytes[i]);
  return digits;
}

std::wstring CFiStringTool::binary2wstr(const unsigned char* bytes, unsigned int count) {
  return str2wstr(binary2str(bytes, count));
}

void CFiStringTool::str2binary(unsigned char* bytes, int* count, const std::string& text) {
  parseBytes(bytes, count, text);
}

void CFiStringTool::wstr2binary(unsigned char* bytes, int* count, const std::wstring& text,
                                bool /*flag*/) {
  parseBytes(bytes, count, text);
}

std::string CFiStringTool::str2uid(unsigned int prefix, const std::string& text) {
  std::string uid = uidPrefix(prefix);
  for (const char character : text) {
    const auto value = static_cast<signed char>(character);
    appendHex(uid, static_cast<unsigned int>(value));
  }
  return uid;
}

std::string CFiStringTool::binary2uid(unsigned int prefix, const unsigned char* bytes,
                                      unsigned int count) {
  return uidPrefix(prefix) + binary2str(bytes, count);
}

std::string CFiStringTool::wstr2uid(unsigned int prefix, const std::wstring& text) {
  const std::string bytes = wstr2str(text);
  return binary2uid(prefix, reinterpret_cast<const unsigned char*>(bytes.data()),
                    static_cast<unsigned int>(bytes.size()));
}

}  // namespace orca_pdk_4_4
