#include <algorithm>

#include "cfipluginbase.h"
#include "cfiscope.h"

namespace orca_pdk_4_4 {

namespace {

constexpr long kReady = 8;

template <typename List>
int emptyList(List** list) {
  if (list == nullptr) return FI_INVALID;
  *list = nullptr;
  return FI_OK;
}

}  // namespace

int CFiPluginBase::delayedInit() { return FI_OK; }

CFiConfigParamInfoList* CFiPluginBase::globalConfigInfoList(int mode, bool second) {
  return second ? &m_secondInfoLists[mode] : &m_firstInfoLists[mode];
}

int CFiPluginBase::init() { return answer(*this, FI_OK); }

void CFiPluginBase::fini() { answer(*this, FI_OK); }

int CFiPluginBase::claim(orca_objid*, orca_objid***, int*) { return answer(*this, FI_OK); }

int CFiPluginBase::supportsFiType(pyx_domain* domain, char*) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (domain != nullptr && domain->capability != nullptr) *domain->capability = 0;
  return FI_OK;
}

int CFiPluginBase::deportTree(pyx_domain*, pyx_domain*, pyx_accessnode*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::importTreeNode(pyx_domain*, orca_objid**, orca_objid**, int, orca_objid**) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::initNode(pyx_domain*, pyx_domain**, int, orca_objid*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::initAltNode(pyx_domain*, pyx_domain*, pyx_domain*, bool) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::dispose(pyx_domain*, pyx_domain*, pyx_splitnode*, pyx_disposition) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::online(pyx_domain*, pyx_domain*, int, pyx_disposition) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::buildAltTree(pyx_domain*, char*, orca_objid**, orca_objid**, int, orca_objid**) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::quiesce(pyx_quiescenode**, int, char*) { return answer(*this, FI_OK); }

void CFiPluginBase::unquiesce(pyx_quiescenode**, int) { answer(*this, FI_OK); }

int CFiPluginBase::make(char*, pyx_splitnode**, int, orca_objid***, int*) {
  return answer(*this, FI_NOT_SUPPORTED);
}

int CFiPluginBase::makeSnapshots(CFiSessionPtr&) { return answer(*this, FI_NOT_SUPPORTED); }

int CFiPluginBase::prepare(char*, pyx_splitnode**, int, int) {
  return answer(*this, FI_NOT_SUPPORTED);
}

int CFiPluginBase::prepareSnapshots(CFiSessionPtr&) { return answer(*this, FI_OK); }

int CFiPluginBase::select(char*, pyx_splitnode**, int) { return answer(*this, FI_NOT_SUPPORTED); }

int CFiPluginBase::selectSnapshots(CFiSessionPtr&) { return answer(*this, FI_OK); }

int CFiPluginBase::isReady(char*, pyx_splitnode**, int) { return answer(*this, FI_OK); }

int CFiPluginBase::cacheDisable(pyx_domain*, int) { return answer(*this, FI_OK); }

void CFiPluginBase::cacheEnable(pyx_domain*, int) { answer(*this, FI_OK); }

void CFiPluginBase::cacheFlush(pyx_domain*, int) { answer(*this, FI_OK); }

int CFiPluginBase::interpose(pyx_domain*, orca_objid**, orca_objid***, int*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getAttr(pyx_domain*, pyx_domain*, pyx_splitnode*, pyx_attributes*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getProviderInfo(pyx_provider_list**) { return answer(*this, FI_OK); }

int CFiPluginBase::enumerateNodes(pyx_node_list** list, int*, int, char*) {
  return answer(*this, emptyList(list));
}

int CFiPluginBase::enumerateAssociations(pyx_assoc_list** list) {
  return answer(*this, emptyList(list));
}

int CFiPluginBase::enumerateGroupNodes(pyx_group_node_list** list) {
  return answer(*this, emptyList(list));
}

int CFiPluginBase::enumerateFims(pyx_fim_list** list) {
  const OperationScope scope(*this, kPluginBaseSource);
  emptyList(list);
  return FI_OK;
}

int CFiPluginBase::isValidNodeAssociation(pyx_assoc*, int*) {
  return answer(*this, FI_NOT_SUPPORTED);
}

int CFiPluginBase::getAssociatedNodes(pyx_node*, pyx_node_list** list) {
  return answer(*this, emptyList(list));
}

int CFiPluginBase::checkNodeExistence(pyx_domain*, int*) { return answer(*this, FI_NOT_SUPPORTED); }

int CFiPluginBase::objctl(tstr, CFiObjctlArgs&) { return answer(*this, FI_OK); }

int CFiPluginBase::processProviderState(pyx_domain*, pyx_blob* blob,
                                        pyx_op_providerstate operation) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (operation == PYX_OPSTATE_GET && blob != nullptr) {
    blob->length = 0;
    blob->data = nullptr;
  }
  return FI_OK;
}

int CFiPluginBase::restore(orca_objid**, orca_objid**, long, char*, char*, char***, long*, long,
                           long*) {
  return answer(*this, FI_NOT_SUPPORTED);
}

int CFiPluginBase::resync(orca_objid**, orca_objid**, long, char*, char*, long, long*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getStatus(orca_objid**, orca_objid**, long count, char*, long, long* statuses) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (count > 0 && statuses != nullptr) std::fill_n(statuses, count, kReady);
  return FI_OK;
}

int CFiPluginBase::prePrepare(pyx_domain*) { return answer(*this, FI_OK); }

int CFiPluginBase::queryValidSecondaries(char*, orca_objid***, long* count) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (count != nullptr) *count = 0;
  return FI_OK;
}

int CFiPluginBase::resourceStatus(orca_objid*, long, long*, pyx_msg_info**) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::revisitPluginNodes(pyx_pgn_node_list*) { return answer(*this, FI_OK); }

int CFiPluginBase::verifyQSCombos(pyx_splitnode**, int) { return answer(*this, FI_OK); }

int CFiPluginBase::setImportOptions(pyx_splitnode** nodes, int count, pyx_host_infn* hosts,
                                    int transportable, void*) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (nodes == nullptr) return FI_OK;
  for (int i = 0; i < count; ++i) {
    if (nodes[i] == nullptr) continue;
    const CFiPrivateDataPtr data = findPrivateData(nodes[i]->domain);
    if (!data) continue;
    data->setHostList(hosts);
    data->setTransportable(transportable != 0);
  }
  return FI_OK;
}

int CFiPluginBase::startBuildAltTree(pyx_domain*, orca_objid**, void*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::translateResourceNames(char**, int, char**) { return answer(*this, FI_OK); }

int CFiPluginBase::enumerateEnclosures(pyx_enclosure_node_list**, int*, char*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::importResource(char**, char*, char*, char*, int, char**, char*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::format(char**, int, char*, char*, char*, int, char***, int*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::enumerateHostNodes(pyx_host_node_list**, int*, char*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::onlineResource(char**, int, char*, char*, char*, char*, int, char***, int*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::deportResource(char*, char*, char*, char*, int) { return answer(*this, FI_OK); }

int CFiPluginBase::isParentPgn(char*, int*, int) { return answer(*this, FI_OK); }

int CFiPluginBase::unformat(char**, int, int) { return answer(*this, FI_OK); }

int CFiPluginBase::preDeportResource(char*, int, char*) { return answer(*this, FI_OK); }

int CFiPluginBase::refreshTree(pyx_domain*, int, int, pyx_resource*, int, int*, void*, int) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getBackupset(pyx_domain*, int, char**, int, pyx_bkupset*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getAppStatus(pyx_domain*, int, void*) { return answer(*this, FI_OK); }

int CFiPluginBase::setOpStatus(pyx_domain*, int) { return answer(*this, FI_OK); }

int CFiPluginBase::setCompStatus(pyx_domain*, int, char*, int) { return answer(*this, FI_OK); }

int CFiPluginBase::setRestorepaths(pyx_domain*, char*, int) { return answer(*this, FI_OK); }

int CFiPluginBase::createSnapReplicaNode(pyx_domain*, pyx_snapreplica_ele*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::updateSnapshotId(pyx_domain*, pyx_domain*, pyx_snapreplica_ele*, int) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getSnapshotSetId(pyx_domain*, char**) { return answer(*this, FI_OK); }

int CFiPluginBase::preselect(pyx_splitnode*, char*, pyx_splitnode**, int) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::updateSnapshotHandle(CFiSessionPtr&, pyx_snapreplica_ele*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::getSnapdiff(pyx_domain*, pyx_snapreplica_ele*, pyx_snapreplica_ele*,
                               TrieNode_*) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::postDeport(pyx_domain*, pyx_domain*) { return answer(*this, FI_OK); }

}  // namespace orca_pdk_4_4
