#ifndef ORCA_VSTRING_V_STRTOIMAX_H
#define ORCA_VSTRING_V_STRTOIMAX_H

#include <stdint.h>

#include "V_export.h"

/* Converts the integer at the start of a text by the rules of strtoimax in the C locale: white
 * space, a sign, for base 16 or 0 an "0x" that a hexadecimal digit follows, digits. base is 2 to
 * 36, or 0 to take it from the prefix ("0x" 16, "0" 8, else 10).
 *
 * Returns the value; INTMAX_MAX or INTMAX_MIN with errno ERANGE when it is out of range; 0 when
 * there is no number, with errno EINVAL when the base is not valid or nptr is null. *endptr is set
 * behind the number, to nptr when there is none; endptr may be null. */
/* NOLINTNEXTLINE(bugprone-reserved-identifier) */
V_API intmax_t __Vstrtoimax(const char* nptr, char** endptr, int base);

#endif
