#ifndef ORCA_VSTRING_V_VFSCANF_H
#define ORCA_VSTRING_V_VFSCANF_H

#include <stdarg.h>
#include <stdio.h>

#include "V_export.h"

/*
 * What the scan engine sees of its source: r characters at p, and a function that is asked for more
 * when r is 0. It sets p and r and returns 0, or returns -1 at the end of the data.
 *
 * Over a file, use { NULL, 0, 0, file, __Vrefill }; the view then shows one character at a time.
 * Over memory, fp is null. Characters that were looked at in vain are handed back by moving p, so
 * the pieces that a read function shows must follow one another in memory, and none may be longer
 * than INT_MAX - 512. The engine never writes through p. A view belongs to one thread and owns
 * nothing.
 */
typedef struct V_stream {
  unsigned char* p;
  int r;
  int eof; /* set once the end was met; nothing is read any more until the owner clears it */
  FILE* fp;
  int (*read)(struct V_stream*);
} V_stream;

/*
 * Scans a stream. Ordinary characters of the format must match, white space matches any run of
 * white space, also none, and "%" starts a conversion: "*" (assign nothing), a field width (0 means
 * none), a size prefix (h, hh, l, ll, L, q, j, t, z) and one of
 *
 *   d i D        a signed integer, base 10, 10/8/16 by its prefix, 10 into a long
 *   o u x X p O  an unsigned one, base 8, 10, 16, 16, a pointer in base 16, 8 into a long
 *   e E f g G    a decimal floating number: float, with l double, with L long double
 *   s            a word
 *   [            a run of the characters of a set: "^" first inverts it, "]" first stands for
 *                itself, "a-z" is a range
 *   c            one character, white space included; "%*5c" skips five
 *   n            stores the number of characters consumed; not counted in the result
 *   %            matches "%"
 *
 * Every target is followed by its size in bytes, read as an unsigned int. For s and [ the whole run
 * is consumed, the first size - 1 characters are stored with a terminator (nothing when size is 0),
 * and the target counts as assigned. For c the size is not used, and one character is stored
 * whatever the width. The type of a number follows from its prefix; its size is only a limit: never
 * more bytes are written than that. Of an integer the low bytes are stored; a floating number is
 * stored as the widest type that fits. A null target is passed over in the same way. A number is at
 * most 512 characters long, and an integer out of the range of intmax_t or uintmax_t becomes the
 * nearest value, with errno ERANGE. The decimal point is that of the locale.
 *
 * Returns the number of targets assigned up to the first mismatch or the end of the data; -1 when
 * the data ended before the first conversion, a pointer is null, or the format ends right after a
 * "%". A file stands behind the last character consumed afterwards.
 */
V_API int V_vfscanf(V_stream* stream, const char* format, va_list args);

/* The read function over a file: flushes all output, looks at the next character and leaves it in
 * the file. Returns 0 when there is one, -1 when there is none or eof is set. */
V_API int __Vrefill(V_stream* stream); /* NOLINT(bugprone-reserved-identifier) */

/* The read function over a text that is in the view as a whole: always the end of the data. */
V_API int eofread(V_stream* stream);

/* Copies the position of the file to the view: the view is emptied, so that the next character is
 * asked of the file, and eof is set when the file is at its end. */
V_API void __Vposition_from_file(V_stream* stream); /* NOLINT(bugprone-reserved-identifier) */

/* Copies the position of the view to the file: a character that was shown and consumed is taken out
 * of the file, one that was shown only stays in it. */
V_API void __Vposition_to_file(V_stream* stream); /* NOLINT(bugprone-reserved-identifier) */

#endif
