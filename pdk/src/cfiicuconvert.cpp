#include "cfiicuconvert.h"

#include <unicode/ustring.h>

#include <cstdint>
#include <limits>
#include <new>

namespace orca_pdk_4_4 {

namespace {

// Runs one of ICU's conversions without a target, to learn the length. The overflow that it then
// reports is no error; of invalid text the length stays 0.
template <class Function, class Source>
int32_t measure(Function convert, const Source* source, std::size_t length, UErrorCode& status) {
  constexpr std::size_t kLongest = std::numeric_limits<int32_t>::max() - 1;
  if (length > kLongest) {
    status = U_INDEX_OUTOFBOUNDS_ERROR;
    return 0;
  }
  int32_t needed = 0;
  convert(nullptr, 0, &needed, source, static_cast<int32_t>(length), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) status = U_ZERO_ERROR;
  return needed;
}

// Sizing call and filling call into text.
template <class Function, class Source>
UErrorCode fillUnicode(Function convert, const Source* source, std::size_t length,
                       icu::UnicodeString& text) {
  UErrorCode status = U_ZERO_ERROR;
  text.remove();
  const int32_t needed = measure(convert, source, length, status);
  if (U_FAILURE(status)) return status;
  UChar* const buffer = text.getBuffer(needed + 1);
  if (buffer == nullptr) throw std::bad_alloc();
  convert(buffer, needed + 1, nullptr, source, static_cast<int32_t>(length), &status);
  text.releaseBuffer(U_FAILURE(status) ? 0 : needed);
  return status;
}

}  // namespace

UErrorCode unicodeFromUtf8(const char* bytes, std::size_t length, icu::UnicodeString& text) {
  return fillUnicode(u_strFromUTF8, bytes, length, text);
}

UErrorCode unicodeFromWide(const wchar_t* wide, std::size_t length, icu::UnicodeString& text) {
  return fillUnicode(u_strFromWCS, wide, length, text);
}

UErrorCode utf8FromUnicode(const icu::UnicodeString& text, std::string& bytes) {
  UErrorCode status = U_ZERO_ERROR;
  bytes.clear();
  const int32_t needed = measure(u_strToUTF8, text.getBuffer(), text.length(), status);
  if (U_FAILURE(status)) return status;
  bytes.resize(needed);
  u_strToUTF8(bytes.data(), needed + 1, nullptr, text.getBuffer(), text.length(), &status);
  if (U_FAILURE(status)) bytes.clear();
  return status;
}

}  // namespace orca_pdk_4_4
