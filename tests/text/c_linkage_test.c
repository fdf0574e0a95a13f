/* The portable functions, included and called from C. */
#include <string.h>

#include "V_sscanf.h"
#include "V_strings.h"
#include "V_strtoimax.h"
#include "V_strtoumax.h"
#include "V_vfscanf.h"
#include "vtime.h"

int linkageFailure(void);
int linkageFailure(void) {
  V_stream ended = {NULL, 0, 0, NULL, eofread};
  const time_t epoch = 0;
  struct tm when;
  char text[8];
  if (V_snprintf(text, sizeof text, "%s", "abc") != 3 || strcmp(text, "abc") != 0) return 1;
  if (V_sscanf("abc", "abc") != 0 || ended.read(&ended) != -1 || ended.eof != 1) return 2;
  if (__Vstrtoimax("-7", NULL, 10) != -7 || __Vstrtoumax("7", NULL, 10) != 7) return 3;
  return V_gmtime(&epoch, &when) != NULL && V_timegm(&when) == 0 ? 0 : 4;
}
