#include "V_strtoumax.h"

#include "V_integer.h"

uintmax_t __Vstrtoumax(const char* nptr, char** endptr, int base) {
  const V_integer number = V_readInteger(nptr, endptr, base);
  if (number.overflow) {
    errno = ERANGE;
    return UINTMAX_MAX;
  }
  return number.negative ? 0 - number.magnitude : number.magnitude;
}
