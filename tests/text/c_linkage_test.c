/* The portable functions, included and called from C. */
#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "V_sscanf.h"
#include "V_strings.h"
#include "V_strtoimax.h"
#include "V_strtoumax.h"
#include "V_vfscanf.h"
#include "vtime.h"

int linkageFailure(void);

static int scanFile(FILE* file, const char* format, ...) {
  V_stream stream = {NULL, 0, 0, file, __Vrefill};
  va_list args;
  va_start(args, format);
  const int assigned = V_vfscanf(&stream, format, args);
  va_end(args);
  return assigned;
}

static int wideFailure(void) {
  wchar_t wide[8];
  size_t length;
  if (V_wcslcpy(wide, L"ab", 8) != 2 || V_wcslcat(wide, L"c", 8) != 1) return __LINE__;
  if (V_wcslncpy(wide, L"abcd", 2, 8) != 2 || V_wcslncat(wide, L"xy", 1, 8) != 1) return __LINE__;
  if (V_wstrverify(wide, 8, &length) != 0 || length != 3) return __LINE__;
  return V_snwprintf(wide, 8, L"%d", 42) == 2 && wcscmp(wide, L"42") == 0 ? 0 : __LINE__;
}

/* The line of the first check that fails, 0 when all hold. */
int linkageFailure(void) {
  char text[32];
  int number = 0;
  const time_t epoch = 0;
  struct tm when;
  FILE* file = tmpfile();
  if (file == NULL) return __LINE__;
  fputs("17", file);
  rewind(file);
  const int assigned = scanFile(file, "%d", &number, 4);
  fclose(file);
  if (assigned != 1 || number != 17) return __LINE__;
  if (V_strlcpy(text, "ab", sizeof text) != 2 || V_strlcat(text, "c", sizeof text) != 1) {
    return __LINE__;
  }
  if (V_snprintf(text, sizeof text, "%s", "abc") != 3 || strcmp(text, "abc") != 0) return __LINE__;
  if (V_sscanf("5", "%d", &number, 4) != 1 || number != 5) return __LINE__;
  if (__Vstrtoimax("-7", NULL, 10) != -7 || __Vstrtoumax("7", NULL, 10) != 7) return __LINE__;
  if (V_gmtime(&epoch, &when) == NULL || V_timegm(&when) != 0) return __LINE__;
  if (V_asctime(&when, text, 25) != NULL || errno != ERANGE) return __LINE__;
  return wideFailure();
}
