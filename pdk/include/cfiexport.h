#ifndef ORCA_PDK_CFIEXPORT_H
#define ORCA_PDK_CFIEXPORT_H

// Marks what the library exports; everything else is hidden.
#define ORCA_PDK_API __attribute__((visibility("default")))

// Lets the compiler check a printf-like operation: positions of the format text and of the first
// argument, the object itself counted as 1 in a member function.
#define ORCA_PDK_PRINTF(text, first) __attribute__((format(printf, text, first)))

#endif
