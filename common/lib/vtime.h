#ifndef ORCA_COMMON_VTIME_H
#define ORCA_COMMON_VTIME_H

/*
 * Wrappers of the C library's time functions that write into the caller's memory, usable from C and
 * C++. V_asctime and V_ctime set errno to ERANGE and return null when the buffer is too small;
 * every function answers a null pointer with the result of failure.
 */

#include <stddef.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

#define V_TIME_API __attribute__((visibility("default")))

/* Seconds since the epoch of a broken-down UTC time, which is normalised in place as timegm does;
 * (time_t)-1 when it cannot be expressed. */
V_TIME_API time_t V_timegm(struct tm* time);

/* Breaks a time down in UTC, or in the local time zone as TZ names it at this moment. Returns out;
 * null, with out untouched, on failure. */
V_TIME_API struct tm* V_gmtime(const time_t* time, struct tm* out);
V_TIME_API struct tm* V_localtime(const time_t* time, struct tm* out);

/* Writes a text like "Thu Jan  1 00:00:00 1970\n" and returns buf; null on failure. size is the
 * size of buf in bytes, at least 26. A text longer than buf is cut (years past 9999). */
V_TIME_API char* V_asctime(const struct tm* time, char* buf, size_t size);

/* V_asctime of the local time. */
V_TIME_API char* V_ctime(const time_t* time, char* buf, size_t size);

#undef V_TIME_API

#ifdef __cplusplus
}
#endif

#endif
