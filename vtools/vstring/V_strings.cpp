#include "V_strings.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr uint32_t kFailed = 0xFFFFFFFF;

size_t boundedLength(const char* text, size_t limit) { return strnlen(text, limit); }
size_t boundedLength(const wchar_t* text, size_t limit) { return wcsnlen(text, limit); }

template <class Char>
bool usable(const Char* dst, const Char* src, size_t size) {
  return dst != nullptr && src != nullptr && size != 0;
}

template <class Char>
size_t copy(Char* dst, const Char* src, size_t size) {
  if (!usable(dst, src, size)) return 0;
  const size_t length = boundedLength(src, size - 1);
  std::char_traits<Char>::copy(dst, src, length);
  dst[length] = Char();
  return length;
}

template <class Char>
size_t concatenate(Char* dst, const Char* src, size_t size) {
  if (!usable(dst, src, size)) return 0;
  const size_t end = boundedLength(dst, size);
  return copy(dst + end, src, size - end);
}

template <class Char>
size_t copyPadded(Char* dst, const Char* src, size_t n, size_t size) {
  if (!usable(dst, src, size)) return 0;
  const size_t field = std::min(n, size);
  const size_t length = boundedLength(src, field);
  std::char_traits<Char>::copy(dst, src, length);
  std::char_traits<Char>::assign(dst + length, field - length, Char());
  const size_t end = std::min(field, size - 1);
  dst[end] = Char();
  return end;
}

template <class Char>
size_t concatenateBounded(Char* dst, const Char* src, size_t n, size_t size) {
  if (!usable(dst, src, size)) return 0;
  const size_t end = boundedLength(dst, size);
  const bool cutsSource = end < size && n < size - end - 1;
  return concatenate(dst, src, cutsSource ? end + 1 + n : size);
}

template <class Char>
uint32_t verify(const Char* buf, size_t n, size_t* len) {
  const size_t end = buf == nullptr ? n : boundedLength(buf, n);
  const bool found = end < n;
  if (len != nullptr) *len = found ? end : 0;
  return found ? 0 : kFailed;
}

// V_snprintf and V_vsnprintf both inline this: a call of one exported function by the other would
// go through the linkage table.
inline __attribute__((always_inline, format(printf, 3, 0))) int formatBounded(char* s, size_t size,
                                                                              const char* format,
                                                                              va_list args) {
  if (s == nullptr || size == 0) return static_cast<int>(kFailed);
  const int length = format == nullptr ? -1 : vsnprintf(s, size, format, args);
  if (length < 0) {
    s[0] = '\0';
    return 0;
  }
  return static_cast<size_t>(length) < size ? length : static_cast<int>(size - 1);
}

struct Free {
  void operator()(void* block) const { std::free(block); }
};

}  // namespace

size_t V_strlcpy(char* dst, const char* src, size_t size) { return copy(dst, src, size); }

size_t V_strlcat(char* dst, const char* src, size_t size) { return concatenate(dst, src, size); }

size_t V_strlncpy(char* dst, const char* src, size_t n, size_t size) {
  return copyPadded(dst, src, n, size);
}

size_t V_strlncat(char* dst, const char* src, size_t n, size_t size) {
  return concatenateBounded(dst, src, n, size);
}

size_t V_wcslcpy(wchar_t* dst, const wchar_t* src, size_t size) { return copy(dst, src, size); }

size_t V_wcslcat(wchar_t* dst, const wchar_t* src, size_t size) {
  return concatenate(dst, src, size);
}

size_t V_wcslncpy(wchar_t* dst, const wchar_t* src, size_t n, size_t size) {
  return copyPadded(dst, src, n, size);
}

size_t V_wcslncat(wchar_t* dst, const wchar_t* src, size_t n, size_t size) {
  return concatenateBounded(dst, src, n, size);
}

uint32_t V_strverify(const char* buf, size_t n, size_t* len) { return verify(buf, n, len); }

uint32_t V_wstrverify(const wchar_t* buf, size_t n, size_t* len) { return verify(buf, n, len); }

void* V_dumb_realloc(void** p, size_t size) {
  if (p == nullptr) return nullptr;
  void* moved = std::realloc(*p, size);
  if (moved == nullptr && size != 0) std::free(*p);
  *p = moved;
  return moved;
}

int V_vsnprintf(char* s, size_t size, const char* format, va_list args) {
  return formatBounded(s, size, format, args);
}

int V_snprintf(char* s, size_t size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int length = formatBounded(s, size, format, args);
  va_end(args);
  return length;
}

int V_vsnwprintf(wchar_t* ws, size_t n, const wchar_t* format, va_list args) {
  if (n == 0 || format == nullptr) return static_cast<int>(kFailed);
  // Zeroed, because a text that does not fit is left without its terminator.
  const std::unique_ptr<wchar_t, Free> scratch(
      static_cast<wchar_t*>(std::calloc(n, sizeof(wchar_t))));
  if (!scratch) return vswprintf(nullptr, 0, format, args);
  const int length = vswprintf(scratch.get(), n, format, args);
  V_wcslcpy(ws, scratch.get(), n);
  return length;
}

int V_snwprintf(wchar_t* ws, size_t n, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const int length = V_vsnwprintf(ws, n, format, args);
  va_end(args);
  return length;
}
