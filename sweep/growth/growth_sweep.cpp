// What a process has after many rounds of the same work.

#include <unistd.h>

#include <cstdlib>

#include "cfierrormgr.h"
#include "cfipblm.h"
#include "cfiplugininterposer.h"
#include "cfiprivatedatamgr.h"
#include "support/points.h"
#include "support/trace_recorder.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

constexpr int kWholeRounds = 20000, kPartRounds = 500;
constexpr long kMostGrowth = 512;  // KiB; allocators keep a little

long residentKib() {
  std::ifstream statm("/proc/self/statm");
  long all = 0, resident = 0;
  statm >> all >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

long descriptors() {
  const std::filesystem::directory_iterator folder("/proc/self/fd");
  return std::distance(folder, std::filesystem::directory_iterator());
}

// Does a piece of work many times and compares what the process has with what it had after the
// first of them.
void expectNoGrowth(const std::string& name, const std::function<void(int round)>& work) {
  const int rounds = isWholeSweep() ? kWholeRounds : kPartRounds;
  std::printf("sweep: %s: %d of %d points, seed %u\n", name.c_str(), rounds, kWholeRounds,
              sweepSeed());
  for (int i = 0; i < rounds / 5; ++i) work(i);
  const long memory = residentKib(), files = descriptors();
  for (int i = rounds / 5; i < rounds; ++i) work(i);
  EXPECT_LT(residentKib() - memory, kMostGrowth) << name << ": KiB in " << rounds << " rounds";
  EXPECT_EQ(descriptors(), files) << name;
}

TEST(Growth, IsNoneOverTheLivesOfNodes) {
  CFiPluginInterposer provider;
  provider.setProviderName("P");
  provider.registerPrivateDataManager(CFiPrivateDataManagerPtr(new CFiPrivateDataMap));
  provider.addFim("disk", "fim", "detail", 1, "");
  expectNoGrowth("node lives", [&](int round) {
    std::string name = "<P>/dev/disk" + std::to_string(round);
    std::string values = "<ConfigValueList><ConfigValue><key>k</key><value>" + name.substr(3) +
                         "</value></ConfigValue></ConfigValueList>";
    orca_objid* const id = orca_get_objid(name.c_str(), name.size() + 1, 3);
    int32_t capability = 0;
    pyx_domain node{};
    node.objid = id;
    node.capability = &capability;
    EXPECT_EQ(provider.initNode(&node, nullptr, 0, nullptr), 0);
    pyx_confspec spec{1, 0, values.data()};
    char session[] = "s";
    EXPECT_EQ(provider.config(&node, 2, session, &spec), 0);
    std::free(spec.text);
    for (const pyx_node_fim* fim = node.fim_list; fim != nullptr; fim = fim->next) {
      std::free(fim->detail->text);
      std::free(fim->name->text);
    }
    provider.deInitNode(&node);
    orca_free_objid(id);
  });
}

TEST(Growth, IsNoneOverMessages) {
  struct Factory : CFiMessageCatalogFactory {
    std::string getDefaultLanguage() override { return "en"; }
    CFiMessageCatalogPtr createCatalog(const std::string&) override {
      return CFiMessageCatalogPtr();
    }
    CFiMessagePtr createMessage(const pyx_msg_info* info) override {
      CFiMessagePtr message(new CFiIcuMessage("", 0));
      message->deserialize(info);
      return message;
    }
  } factory;
  CFiPluginBase provider;
  CFiErrorManagerPtr errors(new CFiErrorManager);
  CFiMessageCatalogManagerPtr catalogs(new CFiMessageCatalogManager);
  catalogs->registerFactory(&factory);
  provider.registerErrorManager(errors);
  provider.registerCatalogManager(catalogs);
  expectNoGrowth("messages", [&](int round) {
    auto* const message = new CFiIcuMessage("ID" + std::to_string(round), 3);
    message->addArgument(round);
    errors->pushError(CFiMessagePtr(message));
    pyx_msg_info* info = nullptr;
    char* text = nullptr;
    int unused = 0;
    provider.getLastError(&info);
    provider.getLocaleMessage(&unused, info, "en", &text);
    EXPECT_NE(text, nullptr);
    provider.delLocaleMessage(&text);
    provider.delLastError(&info);
  });
}

TEST(Growth, IsNoneOverTracedLines) {
  TraceRecorder recorder;
  expectNoGrowth("trace", [&](int round) {
    recorder.messages.clear();
    recorder.log->trace(1, "round %d", round);
  });
}

TEST(Growth, IsNoneOverNumbersTakenAndGivenBack) {
  const TempDir temp;
  const ScopedEnv root("ORCA_INSTALL_ROOT", temp.str().c_str());
  const std::string record = temp.file("lib/orca/cachefiles/luns/E1/UDID##V##P##E1##D");
  writeFile(record, "");
  expectNoGrowth("LUN cache", [&](int round) {
    CFiPblmOps cache;
    std::vector<std::string> numbers;
    EXPECT_TRUE(cache.getNewValue("E1", numbers));
    EXPECT_EQ(cache.setKeyValue(record.c_str(), {std::to_string(round % 256)}, "E1"), 0);
    EXPECT_EQ(cache.rmCacheRecord(record.c_str()), 0);
  });
}

}  // namespace
}  // namespace orca_tests
