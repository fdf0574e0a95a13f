#ifndef ORCA_SWEEP_IMPORTER_H
#define ORCA_SWEEP_IMPORTER_H

#include <string>
#include <vector>

#include "cfiplugininterposer.h"

namespace orca_tests {

// Imports nothing, but notes the resource and the hosts that it is asked for.
struct Importer : orca_pdk::CFiPluginInterposer {
  int importNode(orca_pdk::tstr name, std::vector<orca_pdk::tstr> hosts, bool, bool, bool,
                 int) override {
    seen += name.c_str();
    for (const orca_pdk::tstr& host : hosts) seen.append(" ").append(host.c_str());
    return 0;
  }
  std::string seen;
};

}  // namespace orca_tests

#endif
