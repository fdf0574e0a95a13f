#ifndef FIHOST_FRAMEWORK_FINDINGS_H
#define FIHOST_FRAMEWORK_FINDINGS_H

#include "cli/report.h"

namespace fihost {

// Reports every buffer and object id that was not given back, or not as it should be. Called when
// the host has given everything back and the provider is gone.
void reportFindings(Report& report);

}  // namespace fihost

#endif
