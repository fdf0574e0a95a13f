#ifndef FIHOST_FRAMEWORK_INSTALLROOT_H
#define FIHOST_FRAMEWORK_INSTALLROOT_H

#include <set>
#include <string>

#include "trace/event.h"

namespace fihost {

// The install root that plug-ins of this process work with.
std::string installRoot();

// Where no root is set (ORCA_INSTALL_ROOT), takes the one that the host itself is installed in, and
// makes the folders of the store in it, of which the kit makes only the last level. Where one
// cannot be made, the provider will say what it misses.
void prepareInstallRoot();

// Notices when the provider has no message catalog.
class CatalogWatch : public CallObserver {
 public:
  void ended(const Call& call) override;

  // A sentence for each provider without one.
  const std::set<std::string>& findings() const { return m_findings; }

 private:
  std::set<std::string> m_findings;
};

}  // namespace fihost

#endif
