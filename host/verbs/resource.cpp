#include <cstdlib>
#include <memory>

#include "cli/names.h"
#include "framework/lifecycle.h"
#include "verbs/verbs.h"

namespace fihost {

namespace {

// Runs one operation for each resource, in the frame of init and fini.
template <typename Operation>
Exit workOnResources(const Options& options, Report& report, const char* done,
                     Operation operation) {
  Plugin plugin(options.plugin);
  Driver driver(plugin, report);
  NodeSet none({});
  {
    Lifecycle lifecycle(driver, none);
    if (lifecycle.init()) {
      for (std::string resource : options.objects) {
        std::string host = options.host;
        char* const hostName = host.empty() ? nullptr : host.data();
        if (!operation(driver, resource, hostName)) break;
        report.document()[done].push_back(resource);
        report.line(std::string(done) + " " + printable(resource));
        driver.setChanged("the resources before it were " + std::string(done));
      }
    }
  }
  return driver.isFailed() ? kRefused : kDone;
}

}  // namespace

Exit runImport(const Options& options, Report& report) {
  return workOnResources(options, report, "imported",
                         [&](Driver& driver, std::string& resource, char* host) {
                           return driver.call("importResource", resource, [&](auto& provider) {
                             return provider.importResource(nullptr, resource.data(), host, nullptr,
                                                            options.flags, nullptr, nullptr);
                           });
                         });
}

Exit runDeport(const Options& options, Report& report) {
  return workOnResources(
      options, report, "deported", [&](Driver& driver, std::string& resource, char* host) {
        return driver.call("deportResource", resource, [&](auto& provider) {
          return provider.deportResource(resource.data(), host, nullptr, nullptr, options.flags);
        });
      });
}

}  // namespace fihost
