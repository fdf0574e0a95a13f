#ifndef ORCA_VSTRING_V_EXPORT_H
#define ORCA_VSTRING_V_EXPORT_H

/* Declares a function of this layer: C linkage in C and C++ alike, visible outside the library. */
#ifdef __cplusplus
#define V_API extern "C" __attribute__((visibility("default")))
#else
#define V_API extern __attribute__((visibility("default")))
#endif

#endif
