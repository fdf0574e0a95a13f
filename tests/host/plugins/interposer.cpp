#include <cfiplugininterposer.h>
#include <cfiproviderentry.h>
#include <cfistringtool.h>

namespace {

using namespace orca_pdk;

// Interposes nodes with "disk" in their names; imports are done for host h1 only.
class Interposer : public CFiPluginInterposer {
 public:
  Interposer() {
    setProviderName("P");
    addFim("disk", "snapA", "detail A", 0x20, "");
  }
  int importResource(char** names, char* resource, char* hostName, char* options, int flags,
                     char** imported, char* sessionId) override {
    const int result = CFiPluginInterposer::importResource(names, resource, hostName, options,
                                                           flags, imported, sessionId);
    if (result == 0) *imported = CFiStringTool::tstrdup("/dev/c");
    return result;
  }
  int importNode(tstr, std::vector<tstr> hosts, bool, bool, bool, int) override {
    return hosts.size() == 1 && hosts[0] == "h1" ? FI_OK : FI_FAILED;
  }
};

}  // namespace

ORCA_PROVIDER(Interposer);
