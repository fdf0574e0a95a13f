/* The portable functions, included and called from C. */
#include <string.h>

#include "V_sscanf.h"
#include "V_strings.h"
#include "V_strtoimax.h"
#include "V_strtoumax.h"
#include "V_vfscanf.h"
#include "vtime.h"

/* The line of the first check that fails, 0 when all hold. */
int linkageFailure(void);

int linkageFailure(void) {
  V_stream ended = {NULL, 0, 0, NULL, eofread};
  const time_t epoch = 0;
  struct tm when;
  char text[8];
  wchar_t wide[8];
  int number = 0;
  if (V_snprintf(text, sizeof text, "%s", "abc") != 3 || strcmp(text, "abc") != 0) return __LINE__;
  if (V_snwprintf(wide, 8, L"%d", 42) != 2 || wcscmp(wide, L"42") != 0) return __LINE__;
  if (V_sscanf("5", "%d", &number, 4) != 1 || number != 5) return __LINE__;
  if (ended.read(&ended) != -1 || ended.eof != 1) return __LINE__;
  if (__Vstrtoimax("-7", NULL, 10) != -7 || __Vstrtoumax("7", NULL, 10) != 7) return __LINE__;
  return V_gmtime(&epoch, &when) != NULL && V_timegm(&when) == 0 ? 0 : __LINE__;
}
