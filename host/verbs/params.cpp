#include "framework/lifecycle.h"
#include "framework/parameters.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

void show(Driver& driver, const Options& options, const std::string& document) {
  if (options.xml) {
    driver.report().document()["xml"] = document;
    driver.report().text(document);
    return;
  }
  Descriptions descriptions;
  if (readDescriptions(driver, document, descriptions)) showDescriptions(driver, descriptions);
}

}  // namespace

Exit runParams(const Options& options, Report& report) {
  Plugin plugin(options.plugin);
  Driver driver(plugin, report);
  // Standard output is the answer alone.
  report.setOperationsShown(false);
  NodeSet nodes(options.objects);
  std::string sessionId;
  std::string document;
  {
    Lifecycle lifecycle(driver, nodes);
    if (lifecycle.init() && lifecycle.claimAll() && lifecycle.initNodes() &&
        getParameters(driver, nodes[0], sessionId, document)) {
      show(driver, options, document);
    }
  }
  return driver.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
