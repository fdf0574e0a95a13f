#ifndef FIHOST_FRAMEWORK_OVERRIDES_H
#define FIHOST_FRAMEWORK_OVERRIDES_H

#include <cfipluginbase.h>

#include <string>
#include <vector>

namespace fihost {

// Names of operations, in the order of their table. The destructors are left out: every class has
// its own.
struct Overrides {
  std::vector<std::string> own;        // that the plug-in's own classes have
  std::vector<std::string> inherited;  // that an interposing provider has from its base
};

// What a provider has in place of the defaults; of an interposing provider importNode and its like,
// too.
Overrides overriddenOperations(const orca_pdk::CFiPluginBase& provider);

}  // namespace fihost

#endif
