#include "V_strtoimax.h"

#include "V_integer.h"

intmax_t __Vstrtoimax(const char* nptr, char** endptr, int base) {
  const V_integer number = V_readInteger(nptr, endptr, base);
  const uintmax_t limit = static_cast<uintmax_t>(INTMAX_MAX) + (number.negative ? 1 : 0);
  if (number.overflow || number.magnitude > limit) {
    errno = ERANGE;
    return number.negative ? INTMAX_MIN : INTMAX_MAX;
  }
  return static_cast<intmax_t>(number.negative ? 0 - number.magnitude : number.magnitude);
}
