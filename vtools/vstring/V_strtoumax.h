#ifndef ORCA_VSTRING_V_STRTOUMAX_H
#define ORCA_VSTRING_V_STRTOUMAX_H

#include <stdint.h>

#include "V_export.h"

/* As __Vstrtoimax, by the rules of strtoumax: a leading "-" negates the value within uintmax_t, and
 * a value out of range gives UINTMAX_MAX with errno ERANGE. */
V_API uintmax_t __Vstrtoumax(const char* nptr,  // NOLINT(bugprone-reserved-identifier)
                             char** endptr, int base);

#endif
