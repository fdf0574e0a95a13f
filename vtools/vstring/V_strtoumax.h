#ifndef ORCA_VSTRING_V_STRTOUMAX_H
#define ORCA_VSTRING_V_STRTOUMAX_H

#include <stdint.h>

#include "V_export.h"

/* As __Vstrtoimax, by the rules of strtoumax: a leading "-" negates the value within uintmax_t, and
 * a value out of range gives UINTMAX_MAX with errno ERANGE. */
/* NOLINTNEXTLINE(bugprone-reserved-identifier) */
V_API uintmax_t __Vstrtoumax(const char* nptr, char** endptr, int base);

#endif
