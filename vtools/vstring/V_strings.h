#ifndef ORCA_VSTRING_V_STRINGS_H
#define ORCA_VSTRING_V_STRINGS_H

/*
 * Bounded copying, concatenation and formatting, usable from C and C++.
 *
 * Sizes count characters (not bytes, in the wide forms) and include the terminator. Whatever is
 * written is terminated, and nothing is written past the size. A null pointer or a size of 0 gives
 * the result of failure, never a crash. The functions keep no state: threads may call them at the
 * same time on different buffers. Source and target must not overlap.
 */

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#include "V_export.h"

/* Copies at most size - 1 characters. Returns how many were copied, which for a source that does
 * not fit is less than its length. 0 when a pointer is null or size is 0. */
V_API size_t V_strlcpy(char* dst, const char* src, size_t size);

/* Appends to the text in dst, whose buffer holds size characters in all. Returns how many
 * characters were appended: 0 when dst has no terminator within size or no room for a character. */
V_API size_t V_strlcat(char* dst, const char* src, size_t size);

/* Copies the first m = min(n, size) characters, filled up with zero characters when the source is
 * shorter, and terminates at m, or at size - 1 when m leaves no room. Returns the index of that
 * terminator, whatever the length of the source. */
V_API size_t V_strlncpy(char* dst, const char* src, size_t n, size_t size);

/* V_strlcat of at most n characters. */
V_API size_t V_strlncat(char* dst, const char* src, size_t n, size_t size);

/* The wide forms of the four functions above. */
V_API size_t V_wcslcpy(wchar_t* dst, const wchar_t* src, size_t size);
V_API size_t V_wcslcat(wchar_t* dst, const wchar_t* src, size_t size);
V_API size_t V_wcslncpy(wchar_t* dst, const wchar_t* src, size_t n, size_t size);
V_API size_t V_wcslncat(wchar_t* dst, const wchar_t* src, size_t n, size_t size);

/* Looks for the terminator in the first n characters of buf. Returns 0 and the terminator's index
 * in *len; 0xFFFFFFFF, with *len 0, when there is none or buf is null. len may be null. */
V_API uint32_t V_strverify(const char* buf, size_t n, size_t* len);
V_API uint32_t V_wstrverify(const wchar_t* buf, size_t n, size_t* len);

/* Makes the malloc block at *p size bytes long and returns its new place, stored in *p as well.
 * When that fails, the old block is freed, and *p and the result are null. Null when p is null. */
V_API void* V_dumb_realloc(void** p, size_t size);

/* Formats into s. Returns the length of the text in s: size - 1 also when the text was cut to fit,
 * so that this result means "maybe cut"; 0, with "" in s, when the C library cannot format (a wide
 * text that the locale cannot express, a null format); -1 when s is null or size is 0. */
V_API int V_vsnprintf(char* s, size_t size, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));
V_API int V_snprintf(char* s, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/* Formats into ws, which holds n wide characters, and returns vswprintf's own result: the length of
 * the text, or a negative number when it did not fit (ws then holds what did) or could not be
 * formatted. -1 when n is 0. */
V_API int V_vsnwprintf(wchar_t* ws, size_t n, const wchar_t* format, va_list args);
V_API int V_snwprintf(wchar_t* ws, size_t n, const wchar_t* format, ...);

#endif
