#ifndef ORCA_VSTRING_V_SSCANF_H
#define ORCA_VSTRING_V_SSCANF_H

#include "V_export.h"

/*
 * Scans a text. The format is that of V_vfscanf: after every target comes its size, as an int or
 * unsigned int, which the C library's sscanf does not have:
 *
 *   char id[1024]; int level;
 *   if (V_sscanf(line, "%s %d", id, 1024, &level, 4) == 2) ...
 *
 * Returns the number of targets assigned, or -1 when the text ended before the first conversion, a
 * pointer is null, or the format ends right after a "%".
 */
V_API int V_sscanf(const char* text, const char* format, ...);

#endif
