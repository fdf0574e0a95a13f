#ifndef ORCA_PDK_CFIICUCONVERT_H
#define ORCA_PDK_CFIICUCONVERT_H

#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include <cstddef>
#include <string>

namespace orca_pdk_4_4 {

// Conversions to and from UTF-16. Each returns ICU's status; after an error the target is empty.
// Lengths count characters of the source, embedded zeros included.
UErrorCode unicodeFromUtf8(const char* bytes, std::size_t length, icu::UnicodeString& text);
UErrorCode unicodeFromWide(const wchar_t* wide, std::size_t length, icu::UnicodeString& text);
UErrorCode utf8FromUnicode(const icu::UnicodeString& text, std::string& bytes);

}  // namespace orca_pdk_4_4

#endif
