#include <cfiproviderentry.h>
#include <cfistringtool.h>

#include <cstring>

namespace {

using namespace orca_pdk;

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
    *ids = static_cast<orca_objid**>(orca_alloc_buf(sizeof **ids));
    **ids = orca_get_objid(node, std::strlen(node) + 1, 3);
    *count = 1;
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
