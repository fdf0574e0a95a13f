#include <cstdlib>
#include <cstring>

#include "cfiprivatedatamgr.h"
#include "cfistringtool.h"
#include "memory/importer.h"
#include "support/short_memory.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

// A node of an interposer with two FIMs, from its set-up to its end.
struct NodeLife {
  NodeLife() {
    provider.setProviderName(CFiStringTool::str2tstr("P"));
    provider.registerPrivateDataManager(CFiPrivateDataManagerPtr(new CFiPrivateDataMap));
    provider.addFim("disk", "snap", "a detail that does not fit into a small string", 1, "");
    provider.addFim("disk", "copy", "detail", 2, "group");
    node.objid = &id;
    node.capability = &capability;
  }
  ~NodeLife() {
    for (const pyx_node_fim* fim = node.fim_list; fim != nullptr; fim = fim->next) {
      std::free(fim->detail->text);
      std::free(fim->name->text);
    }
    if (node.fim_list != nullptr) provider.deInitNode(&node);
  }
  std::string names() const {
    std::string names;
    for (const pyx_node_fim* fim = node.fim_list; fim != nullptr; fim = fim->next) {
      names += fim->name->text;
    }
    return names;
  }

  CFiPluginInterposer provider;
  char name[22] = "<P>/dev/a-long-disk-1";
  orca_objid id{name, 3};
  int32_t capability = 0;
  pyx_domain node{};
};

TEST(ShortMemory, LetsInitNodeHangTheWholeListOrFail) {
  ShortMemory{"initNode",
              [] {
                NodeLife life;
                const int result = life.provider.initNode(&life.node, nullptr, 0, nullptr);
                return std::to_string(result) + life.names();
              },
              [](const std::string& result) { return result == "6"; }}
      .sweep();
}

TEST(ShortMemory, LetsTheInterposerClaimOrThrow) {
  ShortMemory{"claim, supportsFiType",
              [] {
                NodeLife life;
                char any[] = "any";
                const int claimed = life.provider.claim(&life.id, nullptr, nullptr);
                const int supported = life.provider.supportsFiType(&life.node, any);
                return std::to_string(claimed) + std::to_string(supported) +
                       std::to_string(life.capability);
              }}
      .sweep();
}

TEST(ShortMemory, LetsAResourceBeImportedUnderItsWholeNameOrNotAtAll) {
  ShortMemory{
      "importResource, initAltNode",
      [] {
        Importer provider;
        char resource[] = "UDID##maker##product##enclosure-17##device";
        char host[] = "a-host-with-a-long-name.example";
        provider.importResource(nullptr, resource, host, nullptr, 1, nullptr, nullptr);
        std::string seen = provider.seen;
        provider.registerPrivateDataManager(CFiPrivateDataManagerPtr(new CFiPrivateDataMap));
        orca_objid id{resource, 3};
        pyx_domain node{}, primary{};
        node.objid = primary.objid = &id;
        pyx_host_infn hosts{host, nullptr};
        provider.privateDataManager()->findOrCreate(&primary, 0)->setHostList(&hosts);
        provider.initAltNode(&primary, nullptr, &node, false);
        return seen + "," + provider.seen;
      }}
      .sweep();
}

}  // namespace
}  // namespace orca_tests
