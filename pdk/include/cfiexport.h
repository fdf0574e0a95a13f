#ifndef ORCA_PDK_CFIEXPORT_H
#define ORCA_PDK_CFIEXPORT_H

// Marks what the library exports; everything else is hidden.
#define ORCA_PDK_API __attribute__((visibility("default")))

// Lets the compiler check a printf-like operation: positions of the format text and of the first
// argument, the object itself counted as 1 in a member function.
#define ORCA_PDK_PRINTF(text, first) __attribute__((format(printf, text, first)))

// The kit's classes and functions. The name carries the kit's version, so that two versions can
// live in one process; `orca_pdk` always names the version of the headers in use.
namespace orca_pdk_4_4 {}
namespace orca_pdk = orca_pdk_4_4;

#endif
