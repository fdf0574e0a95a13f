#ifndef ORCA_VSTRING_V_INTEGER_H
#define ORCA_VSTRING_V_INTEGER_H

/* What the number functions of this folder share; not for use outside it. */

#include <errno.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* A number as it was read; the magnitude means nothing after an overflow. */
typedef struct V_integer {
  uintmax_t magnitude;
  bool negative;
  bool overflow;
} V_integer;

/* White space of the C locale, so that bytes of UTF-8 texts never count as such. */
static inline bool V_isSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/* The value of a digit or letter, 36 for any other character. */
static inline int V_digitValue(int c) {
  if (c >= '0' && c <= '9') return c - '0';
  const int lower = c | 0x20;
  return lower >= 'a' && lower <= 'z' ? lower - 'a' + 10 : 36;
}

/* Passes over "0x" when a hexadecimal digit follows and the base allows it, and settles base 0. */
static inline const char* V_passPrefix(const char* p, int* base) {
  const bool hexadecimal = p[0] == '0' && (p[1] | 0x20) == 'x' && V_digitValue(p[2]) < 16;
  if (hexadecimal && (*base == 0 || *base == 16)) {
    *base = 16;
    return p + 2;
  }
  if (*base == 0) *base = p[0] == '0' ? 8 : 10;
  return p;
}

/* Reads the digits at p into the number; returns the place behind the last one. */
static inline const char* V_readDigits(const char* p, int base, V_integer* number) {
  for (int digit = V_digitValue(*p); digit < base; digit = V_digitValue(*++p)) {
    uintmax_t value = number->magnitude;
    number->overflow |= __builtin_mul_overflow(value, (uintmax_t)base, &value);
    number->overflow |= __builtin_add_overflow(value, (uintmax_t)digit, &value);
    number->magnitude = value;
  }
  return p;
}

/* Reads a whole number as described at __Vstrtoimax, the range check left to the caller. */
static inline V_integer V_readInteger(const char* nptr, char** endptr, int base) {
  V_integer number = {0, false, false};
  const char* end = nptr;
  if (!nptr || base < 0 || base == 1 || base > 36) {
    errno = EINVAL;
  } else {
    const char* p = nptr;
    while (V_isSpace(*p)) ++p;
    number.negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    const char* digits = V_passPrefix(p, &base);
    const char* behind = V_readDigits(digits, base, &number);
    if (behind != digits) end = behind;
  }
  if (endptr) *endptr = (char*)end;
  return number;
}

#endif
