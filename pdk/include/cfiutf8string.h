#ifndef ORCA_PDK_CFIUTF8STRING_H
#define ORCA_PDK_CFIUTF8STRING_H

#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cfiexport.h"
#include "cfitypes.h"

namespace Halcyon::Keystone::Framework {

// One byte of UTF-8 text.
using UTF8Char_t = unsigned char;

// How many continuation bytes follow a lead byte; 0 for bytes that start nothing.
extern ORCA_PDK_API const UTF8Char_t utf8Bytes[256];

// By the number of continuation bytes: what the top two bits of a well-formed sequence, its last
// byte left out, add up to. Each byte's bits stand four bits above those of the byte after it.
extern ORCA_PDK_API const uint32_t pattern[6];

// Text in UTF-8, built by appending. Once anything was appended, one zero byte follows the text.
//
// Conversions throw std::runtime_error when ICU reports an error, and then change nothing. Counting
// characters aborts the process at a malformed sequence, in every kind of build. Threads may read
// one object at the same time.
class ORCA_PDK_API UTF8String {
 public:
  UTF8String();
  ~UTF8String();
  UTF8String(const UTF8String&) = default;
  UTF8String& operator=(const UTF8String&) = default;
  UTF8String(UTF8String&&) = default;
  UTF8String& operator=(UTF8String&&) = default;

  // All bytes; the length counts the terminating zero byte.
  orca_pdk_4_4::tstr t_str() const;
  // The text in UTF-16, without the terminator.
  icu::UnicodeString u_str() const;

  // Moves *p over one character of a zero-terminated text, this one or another. True when that was
  // a single byte; so also for a null *p, which stays. The last byte of a sequence is not looked
  // at, but within this text *p never passes its end.
  bool next(UTF8Char_t** p) const;
  // The number of characters before the first zero byte.
  unsigned int length() const;
  // The byte offset of character i; the offset of the first zero byte when i lies past the end.
  uint32_t operator[](unsigned int i) const;
  // True when every character is a single byte.
  bool ascii() const;

  // Appends n bytes. A null pointer or a negative n appends nothing.
  void append(const char* bytes, int n);
  // Appends the digits of a number in a radix of 2 or more; nothing in any other. Digits above "z",
  // in radices above 36, are the bytes that follow it; above radix 41 they are no UTF-8 any more,
  // and a zero byte ends the number. Of negative numbers only those above INT_MIN are right, and in
  // radix 10 only; the others give characters that are no digits.
  void append(int value, int radix);
  void append(const icu::UnicodeString& text);
  void append(const ACE_String_Base<wchar_t>& text);
  void append(const std::vector<char>& bytes);

  // Throws std::runtime_error with ICU's name of the status when it is an error.
  static void testICUStatus(UErrorCode& status);

 private:
  void appendBytes(const char* bytes, std::size_t n);
  UTF8Char_t* begin() const;

  std::vector<UTF8Char_t> m_bytes;
};

}  // namespace Halcyon::Keystone::Framework

#endif
