#include <cstdlib>
#include <memory>
#include <new>

#include "cfifimlist.h"
#include "cfiobjid.h"
#include "cfiplugininterposer.h"
#include "cfiscope.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

struct FimListDeleter {
  void operator()(pyx_node_fim* list) const { freeFimList(list); }
};
using OwnedFim = std::unique_ptr<pyx_node_fim, FimListDeleter>;

// Zeroed memory from malloc, as the end of a node frees it.
template <typename Record>
Record* allocate() {
  auto* record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
  if (record == nullptr) throw std::bad_alloc();
  return record;
}

pyx_node_fim_entry* makeEntry(pyx_domain* node, pyx_domain* group) {
  auto* entry = allocate<pyx_node_fim_entry>();
  entry->node = node;
  entry->group = group;
  return entry;
}

// The texts are set last: freeing a list leaves them to whoever took it over.
OwnedFim makeFim(const SFiFimInfo& info, pyx_domain* node, pyx_domain* group) {
  OwnedFim fim(allocate<pyx_node_fim>());
  fim->detail = makeEntry(node, group);
  fim->name = makeEntry(node, group);
  std::unique_ptr<char, decltype(&std::free)> detail(CFiStringTool::strdup(info.fimDetail.c_str()),
                                                     &std::free);
  std::unique_ptr<char, decltype(&std::free)> name(CFiStringTool::strdup(info.fimName.c_str()),
                                                   &std::free);
  if (detail == nullptr || name == nullptr) throw std::bad_alloc();
  fim->detail->text = detail.release();
  fim->name->text = name.release();
  return fim;
}

}  // namespace

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
    return FI_FAILED;
  }
  return FI_OK;
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
  for (const SFiFimInfo& fim : getFims(nodeName(domain))) {
    *end = makeFim(fim, domain, m_groups[fim.group].node).release();
    end = &(*end)->next;
  }
}

}  // namespace orca_pdk_4_4
