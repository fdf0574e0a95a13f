#include "cfiutf8string.h"

#include <ace/OS_NS_stdlib.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>

#include "cfiicuconvert.h"

// Declares __assert_fail only without NDEBUG.
#undef NDEBUG
#include <assert.h>

namespace Halcyon::Keystone::Framework {

const UTF8Char_t utf8Bytes[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 0, 0};

const uint32_t pattern[6] = {0x0, 0xC0, 0xC80, 0xC880, 0xC8880, 0xC88880};

namespace {

// Fails like assert, under a fixed name and line.
[[noreturn]] void failAssertion(const char* expression, unsigned int line) {
  __assert_fail(expression, "../cfiutf8string", line, "bool UTF8String::next(UTF8Char_t**) const");
}

// True when the top two bits of a sequence add up to the entry of pattern. A byte that does not fit
// ends the comparison, so that nothing is read past a terminator.
bool matchesPattern(const UTF8Char_t* lead, unsigned int continuations) {
  for (unsigned int i = 0; i < continuations; ++i) {
    const uint32_t expected = (pattern[continuations] >> (4 * (continuations - 1 - i))) & 0xC0;
    if ((lead[i] & 0xC0u) != expected) return false;
  }
  return true;
}

}  // namespace

UTF8String::UTF8String() = default;

UTF8String::~UTF8String() = default;

orca_pdk_4_4::tstr UTF8String::t_str() const {
  return orca_pdk_4_4::tstr(reinterpret_cast<const char*>(m_bytes.data()), m_bytes.size());
}

icu::UnicodeString UTF8String::u_str() const {
  icu::UnicodeString text;
  if (m_bytes.empty()) return text;
  UErrorCode status = orca_pdk_4_4::unicodeFromUtf8(reinterpret_cast<const char*>(m_bytes.data()),
                                                    m_bytes.size() - 1, text);
  testICUStatus(status);
  return text;
}

bool UTF8String::next(UTF8Char_t** p) const {
  if (p == nullptr || *p == nullptr) return true;
  const UTF8Char_t* const end = m_bytes.data() + m_bytes.size();
  if (*p == end) return true;
  const unsigned int continuations = utf8Bytes[**p];
  if (continuations == 0) {
    ++*p;
    return true;
  }
  if (continuations >= std::size(pattern)) failAssertion("false", 106);
  if (!matchesPattern(*p, continuations)) failAssertion("sum == pattern[continuations]", 109);
  UTF8Char_t* const after = *p + continuations + 1;
  const bool own = std::greater_equal<>()(*p, begin()) && std::less<>()(*p, end);
  *p = own ? std::min(after, begin() + m_bytes.size() - 1) : after;
  return false;
}

unsigned int UTF8String::length() const {
  unsigned int count = 0;
  for (UTF8Char_t* p = begin(); p != nullptr && *p != 0; next(&p)) ++count;
  return count;
}

uint32_t UTF8String::operator[](unsigned int i) const {
  UTF8Char_t* p = begin();
  for (; i != 0 && p != nullptr && *p != 0; --i) next(&p);
  return static_cast<uint32_t>(p - begin());
}

bool UTF8String::ascii() const {
  for (UTF8Char_t* p = begin(); p != nullptr && *p != 0;) {
    if (!next(&p)) return false;
  }
  return true;
}

void UTF8String::append(const char* bytes, int n) {
  if (n < 0 || (bytes == nullptr && n > 0)) return;
  appendBytes(bytes, static_cast<std::size_t>(n));
}

void UTF8String::appendBytes(const char* bytes, std::size_t n) {
  if (m_bytes.empty()) m_bytes.push_back(0);
  m_bytes.insert(m_bytes.end() - 1, bytes, bytes + n);
}

void UTF8String::append(int value, int radix) {
  // ACE would divide by 0, or without end by 1.
  if (radix < 2) return;
  char digits[100] = "";
  ACE_OS::itoa_emulation(value, digits, radix);
  appendBytes(digits, std::char_traits<char>::length(digits));
}

void UTF8String::append(const icu::UnicodeString& text) {
  std::string bytes;
  UErrorCode status = orca_pdk_4_4::utf8FromUnicode(text, bytes);
  testICUStatus(status);
  appendBytes(bytes.data(), bytes.size());
}

void UTF8String::append(const ACE_String_Base<wchar_t>& text) {
  icu::UnicodeString unicode;
  UErrorCode status = orca_pdk_4_4::unicodeFromWide(text.c_str(), text.length(), unicode);
  testICUStatus(status);
  append(unicode);
}

void UTF8String::append(const std::vector<char>& bytes) { appendBytes(bytes.data(), bytes.size()); }

void UTF8String::testICUStatus(UErrorCode& status) {
  if (U_FAILURE(status)) {
    throw std::runtime_error(std::string("ICU error occurred while converting string:") +
                             u_errorName(status));
  }
}

// The text is only ever read through this pointer; next wants a writable type.
UTF8Char_t* UTF8String::begin() const { return const_cast<UTF8Char_t*>(m_bytes.data()); }

}  // namespace Halcyon::Keystone::Framework
