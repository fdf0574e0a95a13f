#include <cfiplugininterposer.h>
#include <cfiproviderentry.h>
#include <cfistringtool.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

using namespace orca_pdk;

// Interposes nodes with "disk" in their names; imports are done for host h1 only, those for h2
// change the records of LUN numbers before they fail.
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
    if (hosts.size() == 1 && hosts[0] == "h2") changeRecords();
    return hosts.size() == 1 && hosts[0] == "h1" ? FI_OK : FI_FAILED;
  }

 private:
  static void changeRecords() {
    const std::string folder =
        std::string(std::getenv("ORCA_INSTALL_ROOT")) + "/lib/orca/cachefiles/luns/encl/";
    std::ofstream(folder + "c") << 4;
    std::remove((folder + "old").c_str());
  }
};

}  // namespace

ORCA_PROVIDER(Interposer);
