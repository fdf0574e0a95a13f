#include "cli/text.h"
#include "framework/exceptions.h"
#include "framework/lifecycle.h"
#include "framework/operations.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

// Runs one operation for each resource, in the frame of init and fini.
Exit workOnResources(const Options& options, Report& report, const char* done,
                     bool (*operation)(Caller&, const std::string&, const std::string&, int)) {
  Plugin plugin(options.plugin);
  Caller caller(plugin);
  OperationWatch watch;
  caller.observe(watch);
  caller.observe(report);
  NodeSet none({});
  {
    Lifecycle lifecycle(caller, none);
    if (lifecycle.init()) {
      for (const std::string& resource : options.objects) {
        if (!operation(caller, resource, options.host, options.flags)) break;
        report.document()[done].push_back(resource);
        report.line(std::string(done) + " " + printable(resource));
        caller.setDone("the resources before it were " + std::string(done));
      }
    }
  }
  return report.isFailed() ? kRefused : kDone;
}

}  // namespace

Exit runImport(const Options& options, Report& report) {
  return workOnResources(options, report, "imported", ops::importResource);
}

Exit runDeport(const Options& options, Report& report) {
  return workOnResources(options, report, "deported", ops::deportResource);
}

}  // namespace fihost
