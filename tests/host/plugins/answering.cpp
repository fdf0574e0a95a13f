#include <cfiproviderentry.h>
#include <cfistringtool.h>

#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

using namespace orca_pdk;

// The words of TEST_LIE: how many entries are told of, how many the array has room for (-1: there
// is none), how many are there.
struct Lie {
  int count = 1, room = 1, filled = 1;

  Lie() {
    const char* text = std::getenv("TEST_LIE");
    if (text != nullptr) std::istringstream(text) >> count >> room >> filled;
  }
  template <typename Entry, typename Count, typename Make>
  void handOut(Entry*** entries, Count* told, Make make) const {
    *told = count;
    if (room < 0) return;
    *entries = static_cast<Entry**>(orca_alloc_buf(static_cast<std::size_t>(room) * sizeof(void*)));
    for (int i = 0; i < filled; ++i) (*entries)[i] = make();
  }
  void handOutIds(orca_objid*** ids, int* told) const {
    handOut(ids, told, [] { return orca_get_objid("one", 4, 3); });
  }
};

// Answers with what it was asked, and hands out lists of its own.
class Answering : public CFiPluginBase {
 public:
  Answering() { setProviderName("answering"); }

  int objctl(tstr request, CFiObjctlArgs& args) override {
    args.answer = request.c_str();
    for (const std::string& argument : args.arguments) args.answer += "+" + argument;
    return FI_OK;
  }
  int translateResourceNames(char** names, int count, char** translated) override {
    for (int i = 0; i < count; ++i) translated[i] = CFiStringTool::tstrdup(names[i]);
    return FI_OK;
  }
  int queryValidSecondaries(char* node, orca_objid*** ids, long* count) override {
    Lie().handOut(ids, count, [&] { return orca_get_objid(node, std::strlen(node) + 1, 3); });
    return FI_OK;
  }
  int claim(orca_objid*, orca_objid*** ids, int* count) override {
    Lie().handOutIds(ids, count);
    return PYX_CLAIM_NONE;
  }
  int interpose(pyx_domain*, orca_objid**, orca_objid*** groups, int* count) override {
    Lie().handOutIds(groups, count);
    return 0;
  }
  int make(char* session, pyx_splitnode** nodes, int count, orca_objid*** ids,
           int* idCount) override {
    if (count == 1) return CFiPluginBase::make(session, nodes, count, ids, idCount);
    Lie().handOutIds(ids, idCount);
    return FI_OK;
  }
  int format(char**, int, char*, char*, char*, int, char*** texts, int* count) override {
    Lie().handOut(texts, count, [] { return CFiStringTool::tstrdup("one"); });
    return FI_OK;
  }
  int enumerateEnclosures(pyx_enclosure_node_list**, int* count, char*) override {
    *count = std::getenv("TEST_LIE") == nullptr ? 0 : Lie().count;
    return FI_OK;
  }
  int processProviderState(pyx_domain* domain, pyx_blob* blob,
                           pyx_op_providerstate state) override {
    if (std::getenv("TEST_LIE") == nullptr)
      return CFiPluginBase::processProviderState(domain, blob, state);
    const Lie lie;
    blob->length = static_cast<std::uint64_t>(lie.count);
    if (lie.room >= 0) blob->data = static_cast<char*>(orca_alloc_buf(2));
    return FI_OK;
  }
  int onlineResource(char** resources, int count, char* type, char* name, char* host, char* options,
                     int flags, char*** texts, int* textCount) override {
    const std::string all[] = {
        resources[count - 1], type, name == nullptr ? "null" : name, host, options,
        std::to_string(flags)};
    *texts = static_cast<char**>(orca_alloc_buf(std::size(all) * sizeof **texts));
    for (const std::string& text : all)
      (*texts)[(*textCount)++] = CFiStringTool::tstrdup(text.c_str());
    return FI_OK;
  }
  int buildAltTree(pyx_domain* domain, char*, orca_objid** firsts, orca_objid** seconds, int count,
                   orca_objid** built) override {
    built[0] = seconds[0];
    for (int i = 1; i < count; ++i)
      built[i] = orca_get_objid(domain->name, std::strlen(domain->name) + 1, 3);
    return firsts[0]->name[0] == 's' ? FI_OK : FI_FAILED;
  }
  int getSnapshotSetId(pyx_domain* domain, char** id) override {
    *id = CFiStringTool::tstrdup(domain->name);
    return FI_OK;
  }
  int prepareSnapshots(CFiSessionPtr& session) override { return remember(session); }
  int makeSnapshots(CFiSessionPtr& session) override {
    return m_session.get() == session.get() && session->getSplitNodes().size() == 2 ? FI_OK
                                                                                    : FI_FAILED;
  }

 private:
  int remember(const CFiSessionPtr& session) {
    m_session = session;
    return FI_OK;
  }

  CFiSessionPtr m_session;
};

}  // namespace

ORCA_PROVIDER(Answering);
