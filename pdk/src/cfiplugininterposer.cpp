#include "cfiplugininterposer.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "cfifimlist.h"
#include "cfiobjid.h"
#include "cfiscope.h"
#include "cfistringtool.h"
#include "cfitstr.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kAlternateNode = 1;
constexpr int kTreeImport = 1;

// An array of new object ids, one a group name; null when memory ran short.
orca_objid** makeGroupIds(const std::vector<SFiFimInfo>& fims) {
  const std::size_t size = fims.size() * sizeof(orca_objid*);
  auto** ids = static_cast<orca_objid**>(orca_alloc_buf(size));
  if (ids == nullptr) return nullptr;
  std::size_t made = 0;
  while (made < fims.size() && (ids[made] = makeObjid(fims[made].group)) != nullptr) ++made;
  if (made == fims.size()) return ids;
  while (made > 0) releaseObjid(ids[--made]);
  orca_free_buf(ids, size);
  return nullptr;
}

void setReady(pyx_domain* domain) {
  if (domain != nullptr) domain->flags |= FI_NODE_READY;
}

// Frees a list that no framework has seen yet, with its texts.
void freeOwnFimList(pyx_node_fim* list) {
  for (const pyx_node_fim* fim = list; fim != nullptr; fim = fim->next) {
    for (const pyx_node_fim_entry* entry : {fim->detail, fim->name}) {
      if (entry != nullptr) std::free(entry->text);
    }
  }
  freeFimList(list);
}

struct FimListDeleter {
  void operator()(pyx_node_fim* list) const { freeOwnFimList(list); }
};
using OwnedFim = std::unique_ptr<pyx_node_fim, FimListDeleter>;

// Zeroed memory from malloc, as the end of a node frees it.
template <typename Record>
Record* allocate() {
  auto* record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
  if (record == nullptr) throw std::bad_alloc();
  return record;
}

void fillEntry(pyx_node_fim_entry* entry, const std::string& text, pyx_domain* node,
               pyx_domain* group) {
  entry->text = CFiStringTool::strdup(text.c_str());
  if (entry->text == nullptr) throw std::bad_alloc();
  entry->node = node;
  entry->group = group;
}

OwnedFim makeFim(const SFiFimInfo& info, pyx_domain* node, pyx_domain* group) {
  OwnedFim fim(allocate<pyx_node_fim>());
  fim->detail = allocate<pyx_node_fim_entry>();
  fim->name = allocate<pyx_node_fim_entry>();
  fillEntry(fim->detail, info.fimDetail, node, group);
  fillEntry(fim->name, info.fimName, node, group);
  return fim;
}

constexpr int kResource = 2;

struct ObjidDeleter {
  void operator()(orca_objid* id) const { releaseObjid(id); }
};
using ObjidOwner = std::unique_ptr<orca_objid, ObjidDeleter>;

}  // namespace

CFiPluginInterposer::CFiPluginInterposer() = default;

CFiPluginInterposer::~CFiPluginInterposer() {
  for (const auto& [name, group] : m_groups) releaseObjid(group.objid);
}

int CFiPluginInterposer::claim(orca_objid* primary, orca_objid*** secondaries, int* count) {
  const OperationScope scope(*this, kInterposerSource);
  if (primary == nullptr || primary->name == nullptr) {
    traceLine(FI_TRACE_INFO, "ERROR: Invalid primary object id for claim()");
    return PYX_CLAIM_NONE;
  }
  const char* name = primary->name;
  if (!contains(name, marker()) || findPattern(name) == m_fims.end()) {
    traceLine(FI_TRACE_INFO, "Info, NOT claiming node [%s]", name);
    return PYX_CLAIM_NONE;
  }
  if (secondaries != nullptr) *secondaries = nullptr;
  if (count != nullptr) *count = 0;
  traceLine(FI_TRACE_INFO, "Info, claiming node [%s] PYX_CLAIM_SECONDARY", name);
  return PYX_CLAIM_SECONDARY;
}

int CFiPluginInterposer::supportsFiType(pyx_domain* domain, char* fiType) {
  const OperationScope scope(*this, kInterposerSource);
  if (fiType == nullptr) return FI_OK;
  for (const SFiFimInfo& fim : findFims(nodeName(domain))) {
    if (fim.fimName != fiType && std::strcmp(fiType, "any") != 0) continue;
    const CFiPrivateDataPtr data = findPrivateData(domain);
    int32_t unused = 0;
    const bool answered = domain != nullptr && domain->capability != nullptr;
    int32_t& capability = answered ? *domain->capability : unused;
    if (!data || data->getHostList().empty()) {
      capability |= fim.flags;
    } else {
      capability = data->getTransportable() ? 2 : 1;
    }
    return FI_YES;
  }
  return FI_OK;
}

int CFiPluginInterposer::importTreeNode(pyx_domain* domain, orca_objid**, orca_objid**, int,
                                        orca_objid** imported) {
  const OperationScope scope(*this, kInterposerSource);
  orca_objid* id = domain == nullptr ? nullptr : domain->import_objid;
  if (id == nullptr || id->name == nullptr) {
    traceLine(FI_TRACE_ERROR, "Error: Invalid input arguments to importTreeNode");
    return FI_INVALID;
  }
  const CFiPrivateDataPtr data = findPrivateData(domain);
  const bool transportable = data && data->getTransportable();
  const int result =
      importNode(makeTstr(id->name), data ? data->getHostList() : std::vector<tstr>(),
                 transportable, false, false, kTreeImport);
  if (imported != nullptr) *imported = id;
  return result;
}

int CFiPluginInterposer::initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) {
  const OperationScope scope(*this, kInterposerSource);
  traceLine(FI_TRACE_INFO, "CFiPluginInterposer::initNode for Node [%s]", nodeName(domain));
  if (domain == nullptr || domain->objid == nullptr) return FI_INVALID;
  if (!recordGroupNode(domain)) return FI_OK;
  try {
    setUpNode(domain);
  } catch (...) {
    traceLine(FI_TRACE_ERROR, "ERROR: Caught unhandled exception at %s, %d", kInterposerSource,
              __LINE__);
    freeOwnFimList(std::exchange(domain->fim_list, nullptr));
    forgetGroupNode(domain);
    return FI_FAILED;
  }
  return FI_OK;
}

int CFiPluginInterposer::initAltNode(pyx_domain* primary, pyx_domain*, pyx_domain* target,
                                     bool flag) {
  const OperationScope scope(*this, kInterposerSource);
  if (target == nullptr) {
    traceLine(FI_TRACE_ERROR, "ERROR: initAltNode(): target node is invalid.");
    return FI_INVALID;
  }
  findOrCreatePrivateData(target, kAlternateNode);
  target->node_type |= static_cast<uint32_t>(m_defaultNodeType);
  const CFiPrivateDataPtr data = findPrivateData(primary);
  if (flag || !data || data->getTransportable() || data->getIntent() != PYX_INTENT_NONE) {
    return FI_OK;
  }
  return importNode(makeTstr(nodeName(target)), data->getHostList(), false, false, false,
                    kTreeImport);
}

void CFiPluginInterposer::deInitNode(pyx_domain* domain) {
  const OperationScope scope(*this, kInterposerSource);
  traceLine(FI_TRACE_INFO, "CFiPluginInterposer::deInitNode for Node [%s]", nodeName(domain));
  if (domain == nullptr) return;
  // The field keeps its value; only the base's operation clears it.
  freeFimList(domain->fim_list);
  forgetGroupNode(domain);
  if (privateDataManager()) privateDataManager()->remove(domain);
}

int CFiPluginInterposer::isReady(char*, pyx_splitnode** nodes, int count) {
  const OperationScope scope(*this, kInterposerSource);
  for (int i = 0; nodes != nullptr && i < count; ++i) {
    if (nodes[i] == nullptr) continue;
    setReady(nodes[i]->domain);
    setReady(nodes[i]->second);
  }
  return FI_OK;
}

int CFiPluginInterposer::interpose(pyx_domain* domain, orca_objid** interposed,
                                   orca_objid*** groups, int* count) {
  const OperationScope scope(*this, kInterposerSource);
  if (m_fims.empty()) return FI_OK;
  const std::string name = nodeName(domain);
  if (domain != nullptr && (domain->node_type & m_ignoredNodeTypes) != 0) return FI_OK;
  const CFiTraceLogPtr& log = getTraceLog();
  for (const auto& [pattern, fims] : m_fims) {
    if (log) {
      log->trace(FI_TRACE_INFO, "CFiPluginInterposer::interpose - Looking for patten %s in %s.",
                 pattern.c_str(), name.c_str());
    }
    if (!contains(name, pattern)) continue;
    const std::string ownName = marker() + name;
    if (interposed != nullptr) *interposed = makeObjid(ownName);
    orca_objid** ids = groups == nullptr ? nullptr : makeGroupIds(fims);
    if (groups != nullptr) *groups = ids;
    if (count != nullptr) *count = static_cast<int>(fims.size());
    traceLine(FI_TRACE_INFO, "Info, interposing with node [%s] on [%s].", ownName.c_str(),
              name.c_str());
    return FI_YES;
  }
  return FI_OK;
}

int CFiPluginInterposer::checkNodeExistence(pyx_domain* domain, int* exists) {
  const OperationScope scope(*this, kInterposerSource);
  if (m_fims.empty()) return FI_NOT_SUPPORTED;
  if (exists == nullptr) return FI_INVALID;
  *exists = contains(nodeName(domain), marker()) ? 1 : 0;
  return FI_OK;
}

int CFiPluginInterposer::importNode(tstr, std::vector<tstr>, bool, bool, bool, int) {
  const OperationScope scope(*this, kInterposerSource);
  return FI_NOT_SUPPORTED;
}

// The only provider operation without a trace scope.
int CFiPluginInterposer::importResource(char**, char* resource, char* hostName, char*, int flags,
                                        char**, char*) {
  if (resource == nullptr) return FI_INVALID;
  const CFiUdid checked(makeTstr(resource));
  std::vector<tstr> hosts = hostsOf(hostName, true);
  if ((flags & 0x4) != 0) return FI_NOT_SUPPORTED;
  if ((flags & (FI_IMPORT_READ_WRITE | FI_IMPORT_READ_ONLY)) == 0) return FI_FAILED;
  const bool isReadOnly = (flags & FI_IMPORT_READ_WRITE) == 0;
  return importNode(makeTstr(resource), std::move(hosts), false, isReadOnly, false, kResource);
}

int CFiPluginInterposer::deportResource(char* resource, char* hostName, char*, char*, int flags) {
  const OperationScope scope(*this, kInterposerSource);
  if (resource == nullptr) return FI_INVALID;
  const CFiUdid checked(makeTstr(resource));
  if ((flags & 0x400) != 0) return FI_OK;
  std::vector<tstr> hosts = hostsOf(hostName, false);
  if ((flags & (FI_DEPORT | FI_DEPORT_READ_ONLY)) == 0) {
    return (flags & 0x40) != 0 ? FI_NOT_SUPPORTED : FI_OK;
  }
  const bool isReadOnly = (flags & FI_DEPORT_READ_ONLY) != 0;
  return importNode(makeTstr(resource), std::move(hosts), false, isReadOnly, true, kResource);
}

void CFiPluginInterposer::addIgnoreNodeType(int nodeType) {
  m_ignoredNodeTypes |= static_cast<uint32_t>(nodeType);
}

void CFiPluginInterposer::setDefaultNodeType(int nodeType) { m_defaultNodeType = nodeType; }

void CFiPluginInterposer::addFim(std::string claimPattern, std::string fimName,
                                 std::string fimDetail, int flags, std::string group) {
  if (claimPattern.empty()) {
    traceLine(FI_TRACE_ERROR, "ERROR: Invalid arg to addFim(), invalid claim pattern");
    return;
  }
  if (group.empty()) group = fimName + "_FIM_GROUP";
  ObjidOwner id(makeObjid(group));
  if (id == nullptr) throw std::bad_alloc();
  SFiGroupInfo& info = m_groups.try_emplace(group).first->second;
  m_fims[claimPattern].push_back({group, std::move(fimName), std::move(fimDetail), flags});
  releaseObjid(info.objid);
  info = {std::move(group), std::move(claimPattern), id.release(), nullptr};
}

std::vector<SFiFimInfo> CFiPluginInterposer::getFims(tstr nodeName) const {
  const std::span<const SFiFimInfo> fims = findFims(CFiStringTool::tstr2str(nodeName));
  return {fims.begin(), fims.end()};
}

bool CFiPluginInterposer::isGroupNode(tstr name) const {
  return m_groups.count(CFiStringTool::tstr2str(name)) != 0;
}

const std::map<std::string, SFiGroupInfo>& CFiPluginInterposer::groups() const { return m_groups; }

const std::map<std::string, std::vector<SFiFimInfo>>& CFiPluginInterposer::fims() const {
  return m_fims;
}

std::string CFiPluginInterposer::marker() const {
  std::string text(1, '<');
  text += CFiStringTool::tstr2str(getProviderName());
  return text += '>';
}

CFiPluginInterposer::FimMap::const_iterator CFiPluginInterposer::findPattern(
    std::string_view name) const {
  auto entry = m_fims.begin();
  while (entry != m_fims.end() && !contains(name, entry->first)) ++entry;
  return entry;
}

std::span<const SFiFimInfo> CFiPluginInterposer::findFims(const std::string& name) const {
  if (m_groups.count(name) != 0) return findGroupFim(name);
  if (!contains(name, marker())) return {};
  const auto entry = findPattern(name);
  if (entry == m_fims.end()) return {};
  return entry->second;
}

std::span<const SFiFimInfo> CFiPluginInterposer::findGroupFim(const std::string& group) const {
  for (const auto& [pattern, fims] : m_fims) {
    for (const SFiFimInfo& fim : fims) {
      if (fim.group == group) return {&fim, 1};
    }
  }
  return {};
}

// The hosts of an import or a deport: the one that was passed, or none.
std::vector<tstr> CFiPluginInterposer::hostsOf(const char* hostName, bool isImport) const {
  std::vector<tstr> hosts;
  if (hostName == nullptr) {
    traceLine(FI_TRACE_INFO, isImport ? "No hostname was passed to the importResource API"
                                      : "No hostname was passed to the deportResource API");
    return hosts;
  }
  traceLine(FI_TRACE_INFO,
            isImport ? "Hostname [%s] was passed to importResource API. Adding it hostList "
                     : "Hostname [%s] was passed to deportResource API. Adding it hostList ",
            hostName);
  appendTstr(hosts, hostName);
  return hosts;
}

// False when the node is that of a group and was set up before.
bool CFiPluginInterposer::recordGroupNode(pyx_domain* domain) {
  for (auto& [name, group] : m_groups) {
    if (group.objid == nullptr || orca_objidcmp(group.objid, domain->objid) != 0) continue;
    if (group.node == domain) return false;
    group.node = domain;
    break;
  }
  return true;
}

void CFiPluginInterposer::forgetGroupNode(const pyx_domain* domain) {
  for (auto& [name, group] : m_groups) {
    if (group.node == domain) group.node = nullptr;
  }
}

void CFiPluginInterposer::setUpNode(pyx_domain* domain) {
  domain->name = domain->objid->name;
  domain->fim_list = nullptr;
  domain->fim_aux = nullptr;
  domain->node_type = static_cast<uint32_t>(m_defaultNodeType);
  hangFims(domain);
  findOrCreatePrivateData(domain, 0);
}

void CFiPluginInterposer::hangFims(pyx_domain* domain) {
  pyx_node_fim** end = &domain->fim_list;
  for (const SFiFimInfo& fim : findFims(nodeName(domain))) {
    *end = makeFim(fim, domain, m_groups[fim.group].node).release();
    end = &(*end)->next;
  }
}

}  // namespace orca_pdk_4_4
