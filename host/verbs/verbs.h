#ifndef FIHOST_VERBS_VERBS_H
#define FIHOST_VERBS_VERBS_H

#include "cli/exitstatus.h"
#include "cli/options.h"
#include "cli/report.h"

namespace fihost {

// The verbs of the command line. Each loads the plug-in where it needs one, drives it, reports, and
// unloads it before it returns the exit status. A Problem is thrown.
Exit runProbe(const Options& options, Report& report);
Exit runParams(const Options& options, Report& report);
Exit runSnapshot(const Options& options, Report& report);
Exit runList(const Options& options, Report& report);
Exit runStatus(const Options& options, Report& report);
Exit runRestore(const Options& options, Report& report);
Exit runDispose(const Options& options, Report& report);
Exit runInterpose(const Options& options, Report& report);
Exit runImport(const Options& options, Report& report);
Exit runDeport(const Options& options, Report& report);
Exit runAccess(const Options& options, Report& report);

}  // namespace fihost

#endif
