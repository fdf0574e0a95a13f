#include <signal.h>
#include <unistd.h>

#include <cfiproviderentry.h>
#include <cfiprovidersetup.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using namespace orca_pdk;

bool isSetTo(const char* variable, const std::string& operation) {
  const char* value = std::getenv(variable);
  return value != nullptr && operation == value;
}

void raise(const std::string& text) { throw std::runtime_error(text); }

SFiProviderIdentity identity() {
  SFiProviderIdentity identity;
  identity.providerName = "tester";
  identity.fimName = "TestFim";
  identity.traceLevel = 0;
  return identity;
}

CFiConfigParamInfo parameter(const char* key, int32_t type, const char* defaultValue) {
  CFiConfigParamInfo info;
  info.key = key;
  info.messageId = std::string("MSG_") + key;
  info.dataType = type;
  info.usageType = FI_USAGE_SELECT;
  info.defaultValue = defaultValue;
  return info;
}

// Claims nodes below a folder "data". TEST_FAIL, TEST_THROW and TEST_TERMINATE name an operation
// that fails, raises, and raises where nobody can catch it; TEST_KILL, TEST_CRASH, TEST_ABORT,
// TEST_EXIT, TEST_UNDERSCORE_EXIT and TEST_HANG one that does not come back; TEST_LEAK makes it
// careless with memory. TEST_EARLY lets make hand its ids out before it fails, TEST_STALE leaves a
// message behind in init, TEST_STATUS (OPERATION=STATUS) is what getStatus or restore tell of each
// snapshot. TEST_MANY lets make claim to have handed out more ids than there are. TEST_READY_AT is
// the number of the isReady call that says so first. TEST_FILL names a file with which make fills
// its disk, TEST_INTERRUPT an operation in which the host gets the signals of TEST_SIGNALS.
class TestProvider : public CFiPluginBase {
 public:
  TestProvider() : m_setup(*this, identity()) {
    if (isSetTo("TEST_THROW", "orca_provider_create")) throw std::runtime_error("no provider");
    for (CFiConfigParamInfoList* list : {&firstConfigInfoList(1), &secondConfigInfoList(1)}) {
      CFiConfigParamInfo mode = parameter("mode", FI_DATATYPE_STRING_LIST, "auto");
      mode.selectionList = {"auto", "copy"};
      CFiConfigParamInfo keep = parameter("keep", FI_DATATYPE_INT, "7");
      keep.rangeMin = 1;
      keep.rangeMax = 64;
      list->params = {{"mode", mode}, {"keep", keep}};
      list->updateXML();
    }
  }

  int init() override {
    if (std::getenv("TEST_STALE") != nullptr)
      m_setup.pushMessage("MSG_STALE", PYX_SEV_ERROR, {icu::Formattable(1)});
    return step("init");
  }
  void fini() override { step("fini"); }
  int claim(orca_objid* id, orca_objid*** secondaries, int* count) override {
    if (std::strstr(id->name, "/data/") == nullptr) return PYX_CLAIM_NONE;
    handOut(secondaries, count, {"second"});
    const int result = step("claim");
    return result == 0 ? PYX_CLAIM_PRIMARY : result;
  }
  int initNode(pyx_domain* domain, pyx_domain** members, int count, orca_objid*) override {
    if (count != 1 || members[0] != domain || domain->name != domain->objid->name)
      return FI_INVALID;
    findOrCreatePrivateData(domain, 0);
    return step("initNode");
  }
  void deInitNode(pyx_domain* domain) override {
    CFiPluginBase::deInitNode(domain);
    step("deInitNode");
  }
  int quiesce(pyx_quiescenode**, int, char*) override { return step("quiesce"); }
  void unquiesce(pyx_quiescenode**, int) override { step("unquiesce"); }
  int prePrepare(pyx_domain*) override { return step("prePrepare"); }
  int prepare(char*, pyx_splitnode**, int, int) override { return step("prepare"); }
  int make(char*, pyx_splitnode** nodes, int count, orca_objid*** ids, int* idCount) override {
    std::printf("the provider's own output\n");
    if (std::getenv("TEST_LEAK") != nullptr) leak();
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
      names.push_back("snap:" + std::string(nodes[i]->domain->name));
    }
    if (std::getenv("TEST_EARLY") != nullptr) handOut(ids, idCount, names);
    if (const char* filler = std::getenv("TEST_FILL")) {
      for (std::ofstream disk(filler); disk.put('x').flush();) {
      }
    }
    const int result = step("make");
    if (result == 0 && *ids == nullptr) handOut(ids, idCount, names);
    if (std::getenv("TEST_MANY") != nullptr) *idCount = 1 << 30;
    return result;
  }
  int isReady(char*, pyx_splitnode** nodes, int count) override {
    const char* at = std::getenv("TEST_READY_AT");
    if (at == nullptr || ++m_asked == std::atoi(at)) {
      for (int i = 0; i < count; ++i) nodes[i]->domain->flags |= 0x8;
    }
    return step("isReady");
  }
  int getStatus(orca_objid**, orca_objid**, long count, char*, long, long* statuses) override {
    std::fill_n(statuses, count, status("getStatus", 8));
    return FI_OK;
  }
  int processProviderState(pyx_domain*, pyx_blob* blob, pyx_op_providerstate) override {
    *blob = {4, static_cast<char*>(orca_alloc_buf(4)), 1};
    std::memcpy(blob->data, "st\xff", 4);
    return FI_OK;
  }
  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char* splitType,
              char***, long*, long, long* statuses) override {
    *statuses = status("restore", 0);
    const bool fits = count == 1 && std::string("snap:") + sources[0]->name == snapshots[0]->name &&
                      std::strcmp(splitType, "TestFim") == 0;
    return fits ? step("restore") : FI_INVALID;
  }
  int dispose(pyx_domain* domain, pyx_domain* second, pyx_splitnode* node,
              pyx_disposition) override {
    const bool fits = node->domain == domain && node->second == second &&
                      std::string("snap:") + domain->name == second->name;
    return fits ? step("dispose") : FI_INVALID;
  }

 private:
  int step(const std::string& operation) {
    if (isSetTo("TEST_THROW", operation)) raise("thrown in " + operation);
    if (isSetTo("TEST_TERMINATE", operation)) []() noexcept { raise("never caught"); }();
    if (isSetTo("TEST_INTERRUPT", operation)) interrupt();
    if (isSetTo("TEST_KILL", operation)) kill(getpid(), SIGKILL);
    if (isSetTo("TEST_CRASH", operation)) *static_cast<volatile char*>(nullptr) = 1;
    if (isSetTo("TEST_ABORT", operation)) std::abort();
    if (isSetTo("TEST_EXIT", operation)) std::exit(0);
    if (isSetTo("TEST_UNDERSCORE_EXIT", operation)) _exit(0);
    if (isSetTo("TEST_HANG", operation)) pause();
    if (!isSetTo("TEST_FAIL", operation)) return FI_OK;
    m_setup.pushMessage("MSG_BROKEN", PYX_SEV_ERROR, {icu::Formattable(42)});
    return FI_FILE_ERROR;
  }

  // Sends the host the signals of TEST_SIGNALS.
  static void interrupt() {
    std::istringstream numbers(std::getenv("TEST_SIGNALS"));
    for (int number = 0; numbers >> number;) kill(getpid(), number);
  }

  static long status(const std::string& operation, long good) {
    const char* value = std::getenv("TEST_STATUS");
    if (value == nullptr ||
        std::strncmp(value, (operation + "=").c_str(), operation.size() + 1) != 0)
      return good;
    return std::atol(value + operation.size() + 1);
  }

  static void handOut(orca_objid*** ids, int* count, const std::vector<std::string>& names) {
    *ids = static_cast<orca_objid**>(orca_alloc_buf(names.size() * sizeof **ids));
    *count = static_cast<int>(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      (*ids)[i] = orca_get_objid(names[i].c_str(), names[i].size() + 1, 3);
    }
  }

  static void leak() {
    orca_alloc_buf(24);
    orca_get_objid("lost", 5, 3);
    orca_free_buf(orca_alloc_buf(8), 9);
  }

  CFiProviderSetup m_setup;
  int m_asked = 0;
};

}  // namespace

ORCA_PROVIDER(TestProvider);
