#ifndef FIHOST_FRAMEWORK_OVERRIDES_H
#define FIHOST_FRAMEWORK_OVERRIDES_H

#include <cfipluginbase.h>

#include <string>
#include <vector>

namespace fihost {

// Names of the table's operations that the provider has in place of the defaults, in the order of
// the table. The destructors are left out: every class has its own.
std::vector<std::string> overriddenOperations(const orca_pdk::CFiPluginBase& provider);

}  // namespace fihost

#endif
