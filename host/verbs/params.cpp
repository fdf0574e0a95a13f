#include "framework/exceptions.h"
#include "framework/lifecycle.h"
#include "framework/operations.h"
#include "framework/parameters.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

void show(Caller& caller, Report& report, const Options& options, const std::string& document) {
  if (options.xml) {
    report.document()["xml"] = document;
    report.text(document);
    return;
  }
  Descriptions descriptions;
  if (readDescriptions(caller, document, descriptions)) {
    showDescriptions(caller, report, descriptions);
  }
}

}  // namespace

Exit runParams(const Options& options, Report& report) {
  Plugin plugin(options.plugin);
  Caller caller(plugin);
  OperationWatch watch;
  caller.observe(watch);
  caller.observe(report);
  // Standard output is the answer alone.
  report.setOperationsShown(false);
  NodeSet nodes(options.objects);
  std::string document;
  {
    Lifecycle lifecycle(caller, nodes);
    if (lifecycle.init() && lifecycle.claimAll() && lifecycle.initNodes() &&
        ops::configGetParam(caller, nodes[0], "", document)) {
      show(caller, report, options, document);
    }
  }
  return report.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
