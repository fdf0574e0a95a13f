#ifndef ORCA_PDK_CFISTRINGTOOL_H
#define ORCA_PDK_CFISTRINGTOOL_H

#include <unicode/unistr.h>

#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Conversions of text and numbers. The class holds no state; all operations are safe from any
// thread. 8-bit text is UTF-8, wide text one code point a character, whatever the locale.
class ORCA_PDK_API CFiStringTool {
 public:
  // Between the standard string and tstr; bytes are kept as they are, embedded NULs included. Both
  // throw std::bad_alloc when memory is short, where tstr by itself would be empty.
  static std::string tstr2str(const tstr& text);
  static tstr str2tstr(const std::string& text);

  // Between UTF-8 and wide text. Invalid input becomes U+FFFD. The names of the C library are
  // aliases.
  static std::string wstr2str(const std::wstring& text);
  static std::wstring str2wstr(const std::string& text);
  static std::string wcs2mbs(const std::wstring& text);
  static std::wstring mbs2wcs(const std::string& text);
  static tstr wstr2tstr(const std::wstring& text);
  static std::wstring tstr2wstr(const tstr& text);

  // Between UTF-8 and ICU's UTF-16. Text that cannot be converted gives an empty result.
  static icu::UnicodeString str2ustr(const std::string& text);
  static icu::UnicodeString tstr2ustr(const tstr& text);
  static std::string ustr2str(const icu::UnicodeString& text);
  static tstr ustr2tstr(const icu::UnicodeString& text);

  // Copies for C callers, made with malloc; the caller frees them with free. A null text gives
  // null, as does a lack of memory.
  static char* strdup(const char* text);
  static wchar_t* wstrdup(const wchar_t* text);
  static char* tstrdup(const tstr& text);
  // A null-terminated array of copies; the caller releases it with tstrfreelist.
  static char** tstrduplist(const std::vector<tstr>& list);
  // Frees such an array with its texts and sets the pointer to null. Null is accepted.
  static void tstrfreelist(char**& list);

  // Numbers as decimal text; double2str in the "%g" form, float2str in the "%f" form.
  static std::string int2str(int value);
  static std::string int2str(long value);
  static std::string uint2str(unsigned int value);
  static std::string uint2str(unsigned long value);
  static std::string double2str(double value);
  static std::string float2str(float value);
  static std::wstring int2wstr(int value);
  static std::wstring int2wstr(long value);
  static std::wstring uint2wstr(unsigned int value);
  static std::wstring uint2wstr(unsigned long value);
  // "true" or "false".
  static std::string bool2str(bool value);

  // Text to numbers by the rules of strtol, strtoul, strtoull and strtod: leading white space is
  // skipped, conversion stops at the first character that does not fit, nothing is reported.
  static int str2int(const std::string& text);
  static void str2int(const std::string& text, int& value);
  static unsigned int str2uint(const std::string& text);
  static void str2uint(const std::string& text, unsigned int& value);
  static void str2uint64(const std::string& text, unsigned long& value);
  static double str2double(const std::string& text);
  static void str2double(const std::string& text, double& value);

  // The text without the leading, trailing, or leading and trailing characters of a set. A null set
  // returns the text unchanged.
  static std::string ltrim(const std::string& text, const char* set);
  static std::string rtrim(const std::string& text, const char* set);
  static std::string trim(const std::string& text, const char* set);

  // Letter case, a character at a time.
  static std::string tostrlower(const std::string& text);
  static std::string tostrupper(const std::string& text);
  static std::wstring tostrlower(const std::wstring& text);
  static std::wstring tostrupper(const std::wstring& text);

  // True when both texts have one length and differ in letter case at most.
  static bool CompareNoCase(const std::string& a, const std::string& b);
  static bool CompareNoCase(const std::wstring& a, const std::wstring& b);

  // True when every character is 0 to 9; so also for the empty text.
  static bool isDigit(const std::string& text);
  // True for four fields of digits separated by dots; the numbers have no upper limit.
  static bool isIpAddress(const std::string& text);

  // Finds the first element that contains a text and gives its index. Without a match the index is
  // the number of elements and the answer false. With trim set, copies of the elements lose their
  // trailing white space first; the list itself never changes.
  static bool find(const std::vector<std::string>& list, const std::string& text,
                   unsigned int& index, bool trim);
  // Replaces every non-overlapping occurrence of from, left to right. An empty from returns the
  // text unchanged.
  static std::string searchreplace(const std::string& text, const std::string& from,
                                   const std::string& to);
  // Splits at every run of delimiters; fields are never empty. The text ends at its first NUL.
  static std::vector<std::string> tokenize(const std::string& text, const std::string& delimiters);

  // Escapes the five XML special characters, and the way back.
  static std::string convertToXmlSpecialCharacters(const std::string& text);
  static std::string convertFromXmlSpecialCharacters(const std::string& text);
  // An opening or closing tag, with a line feed when newline is set.
  static std::string xmlBracket(const std::string& name, bool open, bool newline);
  // One line: a tab, the opening tag, the escaped value, the closing tag, a line feed.
  static std::string xmlBracketValue(const std::string& name, const std::string& value);

  // Two lower-case hexadecimal digits a byte.
  static std::string binary2str(const unsigned char* bytes, unsigned int count);
  static std::wstring binary2wstr(const unsigned char* bytes, unsigned int count);
  // The way back, in either letter case; an odd last character is left out, and characters that are
  // no digits count as strtol takes them. bytes has room for one byte for each two characters of
  // the text; count receives how many were stored. A null bytes stores nothing; count may be null.
  static void str2binary(unsigned char* bytes, int* count, const std::string& text);
  // As str2binary; the flag is accepted and selects nothing.
  static void wstr2binary(unsigned char* bytes, int* count, const std::wstring& text, bool flag);

  // Unique ids: four hexadecimal digits of the prefix, then the data in hexadecimal. str2uid takes
  // each character as a signed char, so a byte of 0x80 or above gives eight digits; the other two
  // give two digits a byte, wstr2uid of the text in UTF-8.
  static std::string str2uid(unsigned int prefix, const std::string& text);
  static std::string binary2uid(unsigned int prefix, const unsigned char* bytes,
                                unsigned int count);
  static std::string wstr2uid(unsigned int prefix, const std::wstring& text);
};

}  // namespace orca_pdk_4_4

#endif
