#include <cfiplugininterposer.h>
#include <cfiproviderentry.h>

namespace {

using namespace orca_pdk;

// Interposes nodes with "disk" in their names; imports are done for host h1 only.
class Interposer : public CFiPluginInterposer {
 public:
  Interposer() {
    setProviderName("P");
    addFim("disk", "snapA", "detail A", 0x20, "");
  }
  int importNode(tstr, std::vector<tstr> hosts, bool, bool, bool, int) override {
    return hosts.size() == 1 && hosts[0] == "h1" ? FI_OK : FI_FAILED;
  }
};

}  // namespace

ORCA_PROVIDER(Interposer);
