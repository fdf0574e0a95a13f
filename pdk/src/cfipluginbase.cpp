#include "cfipluginbase.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "V_strings.h"
#include "cfideleters.h"
#include "cfifimlist.h"
#include "cfiscope.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

bool g_isShuttingDown = false;

template <typename List>
int emptyList(List** list) {
  if (list == nullptr) return FI_INVALID;
  *list = nullptr;
  return FI_OK;
}

enum EConfigMode { kGet = 1, kSet = 2, kClear = 3, kGetParam = 4, kSetToo = 5 };

const char* textOf(const pyx_confspec* spec) {
  return spec != nullptr && spec->text != nullptr ? spec->text : "";
}

bool isFirstOfItsMembers(const pyx_domain& domain) {
  return domain.members != nullptr && domain.member_count > 0 && domain.members[0] == &domain;
}

// A copy that the framework frees.
char* copyOf(const tstr& xml) {
  char* copy = CFiStringTool::tstrdup(xml);
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

// A copy of a list's document; null for a list without entries.
template <typename List>
char* copyUnlessEmpty(const List* list) {
  return list == nullptr || list->params.empty() ? nullptr : copyOf(list->getXML());
}

// Gives a node without values the defaults of its descriptions.
char* storeDefaults(CFiPrivateData& data, int index) {
  const CFiConfigParamInfoList* descriptions = data.configInfoList(index);
  if (descriptions == nullptr || descriptions->params.empty()) return nullptr;
  CFiConfigParamDataList defaults = descriptions->getDefaultDataList();
  // The copy first: nothing is stored when there is no memory for it.
  std::unique_ptr<char, CFiFreeMemory> copy(copyOf(defaults.getXML()));
  CFiConfigParamDataList* values = data.configDataList(index);
  if (values == nullptr) return nullptr;
  values->swap(defaults);
  return copy.release();
}

void clearValues(CFiPrivateData& data, int index) {
  if (!data.hasConfigDataList(index)) return;
  if (CFiConfigParamDataList* values = data.configDataList(index)) values->params.clear();
}

constexpr int kOwnerPasses = 10;
constexpr unsigned kOwnerWaitSeconds = 30;

// A signal must not shorten the wait.
void waitSeconds(unsigned seconds) {
  while (seconds > 0) seconds = ::sleep(seconds);
}

void reAttach(CFiPrivateData& data, pyx_intent intent, const char* sessionId) {
  data.setIntent(intent);
  if (sessionId != nullptr) data.setSessionId(sessionId);
}

template <typename Change>
int changeFlags(pyx_node_subobj_list* list, Change change) {
  if (list == nullptr) return FI_INVALID;
  for (; list != nullptr; list = list->next) {
    if (list->node != nullptr) change(list->node->flags);
  }
  return FI_OK;
}

}  // namespace

CFiPluginBase::CFiPluginBase() = default;

CFiPluginBase::~CFiPluginBase() = default;

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

int CFiPluginBase::config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) {
  const OperationScope scope(*this, kPluginBaseSource);
  const CFiPrivateDataPtr data = findPrivateData(domain);
  if (!data) return FI_INVALID;
  traceLine(FI_TRACE_INFO, " config str %s \n", textOf(spec));
  data->setSessionId(sessionId);
  if (spec == nullptr) return FI_INVALID;
  if (spec->first == 0 && spec->second == 0) {
    spec->text = nullptr;
    return FI_OK;
  }
  const int index = spec->first == 0 ? 0 : 1;
  switch (mode) {
    case kGet:
      return configGet(*data, index, *spec);
    case kSet:
    case kSetToo:
      return configSet(*data, index, *spec);
    case kClear:
      clearValues(*data, index);
      return FI_OK;
    case kGetParam:
      return configGetParam(*data, index, isFirstOfItsMembers(*domain), *spec);
    default:
      return FI_OK;
  }
}

int CFiPluginBase::initAltNode(pyx_domain*, pyx_domain*, pyx_domain*, bool) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::reAccessTmpObj(pyx_domain* domain, orca_objid*, char* splitType, pyx_domain*,
                                  char* sessionId, pyx_intent intent) {
  const OperationScope scope(*this, kPluginBaseSource);
  const CFiPrivateDataPtr data = findOrCreatePrivateData(domain, 0);
  if (!data) return FI_OK;
  reAttach(*data, intent, sessionId);
  if (splitType != nullptr) data->setSplitType(splitType);
  return FI_OK;
}

int CFiPluginBase::reAccessAltNode(pyx_domain* domain, orca_objid*, orca_objid*, char* sessionId,
                                   orca_objid**, orca_objid**, int, pyx_intent intent) {
  const OperationScope scope(*this, kPluginBaseSource);
  const CFiPrivateDataPtr data = findOrCreatePrivateData(domain, 0);
  if (data) reAttach(*data, intent, sessionId);
  return FI_OK;
}

void CFiPluginBase::deInitNode(pyx_domain* domain) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (domain == nullptr) return;
  pyx_node_fim* list = domain->fim_list;
  domain->fim_list = nullptr;
  freeFimList(list);
  if (m_privateDataManager) m_privateDataManager->remove(domain);
}

int CFiPluginBase::dispose(pyx_domain*, pyx_domain*, pyx_splitnode*, pyx_disposition) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::online(pyx_domain*, pyx_domain*, int, pyx_disposition) {
  return answer(*this, FI_OK);
}

int CFiPluginBase::subobjList(pyx_domain* domain, orca_objid*** list, int* count) {
  const OperationScope scope(*this, kPluginBaseSource);
  const CFiPrivateDataPtr data = findPrivateData(domain);
  if (!data) return FI_OK;
  orca_objid** elements = data->getSubObjectList();
  const int number = static_cast<int>(data->getSubObjectListLength());
  if (list != nullptr) *list = elements;
  if (count != nullptr) *count = number;
  for (int i = 0; i < number; ++i) {
    const bool named = elements[i] != nullptr && elements[i]->name != nullptr;
    traceLine(FI_TRACE_INFO, "Info: subobjList, list element [%d,%s]", i,
              named ? elements[i]->name : "");
  }
  return FI_OK;
}

int CFiPluginBase::errMsg(int code, const char** text) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (text == nullptr) return FI_INVALID;
  int64_t number = code;
  if (m_messageIndexOffset < code) number -= m_messageIndexOffset;
  char digits[64];
  V_snprintf(digits, sizeof(digits), "%04d", static_cast<int>(number));
  const std::string name = CFiStringTool::tostrupper(m_providerName);
  const std::string key = "MSG_ERROR_" + name + "_" + digits;
  char* found = nullptr;
  if (m_catalogManager) m_catalogManager->getLocalizedMessage(key.c_str(), "native", &found);
  *text = found;
  return FI_OK;
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

int CFiPluginBase::getLastError(pyx_msg_info** info) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (info == nullptr) return FI_INVALID;
  *info = nullptr;
  if (!m_errorManager) return FI_OK;
  const CFiMessagePtr message = m_errorManager->getLastError();
  if (message) *info = message->serialize();
  return FI_OK;
}

int CFiPluginBase::delLastError(pyx_msg_info** info) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (m_errorManager) m_errorManager->deleteLastError(info);
  return FI_OK;
}

int CFiPluginBase::getLocaleMessage(int*, pyx_msg_info* info, const char* locale, char** text) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (text == nullptr) return FI_INVALID;
  *text = nullptr;
  if (m_catalogManager) m_catalogManager->getLocalizedMessage(info, locale, text);
  return FI_OK;
}

int CFiPluginBase::delLocaleMessage(char** text) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (m_catalogManager) m_catalogManager->deleteLocalizedMessage(text);
  return FI_OK;
}

int CFiPluginBase::enableAccess(pyx_node_subobj_list* list, long, int, int) {
  const OperationScope scope(*this, kPluginBaseSource);
  return changeFlags(list, [](uint32_t& flags) { flags &= ~uint32_t{FI_NODE_ACCESS_OFF}; });
}

int CFiPluginBase::disableAccess(pyx_node_subobj_list* list, long) {
  const OperationScope scope(*this, kPluginBaseSource);
  return changeFlags(list, [](uint32_t& flags) { flags |= FI_NODE_ACCESS_OFF; });
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
  if (count > 0 && statuses != nullptr) std::fill_n(statuses, count, long{FI_SNAPSHOT_READY});
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

void CFiPluginBase::setMessageIndexOffset(long offset) {
  m_messageIndexOffset = static_cast<int32_t>(offset);
}

int32_t CFiPluginBase::getMessageIndexOffset() const { return m_messageIndexOffset; }

bool CFiPluginBase::isShuttingDown(bool shutDown) {
  if (shutDown) g_isShuttingDown = true;
  return g_isShuttingDown;
}

void CFiPluginBase::setProviderName(const tstr& name) {
  m_providerName = CFiStringTool::tstr2str(name);
}

tstr CFiPluginBase::getProviderName() const { return CFiStringTool::str2tstr(m_providerName); }

void CFiPluginBase::setFimName(const char* name) { m_fimName = name != nullptr ? name : "Orca"; }

const std::string& CFiPluginBase::getFimName() const { return m_fimName; }

void CFiPluginBase::registerCatalogManager(const CFiMessageCatalogManagerPtr& manager) {
  m_catalogManager = manager;
}

void CFiPluginBase::registerPrivateDataManager(const CFiPrivateDataManagerPtr& manager) {
  m_privateDataManager = manager;
}

void CFiPluginBase::registerSessionManager(const CFiSessionManagerPtr& manager) {
  m_sessionManager = manager;
}

void CFiPluginBase::registerErrorManager(const CFiErrorManagerPtr& manager) {
  m_errorManager = manager;
}

const CFiErrorManagerPtr& CFiPluginBase::errorManager() const { return m_errorManager; }

const CFiMessageCatalogManagerPtr& CFiPluginBase::catalogManager() const {
  return m_catalogManager;
}

const CFiPrivateDataManagerPtr& CFiPluginBase::privateDataManager() const {
  return m_privateDataManager;
}

const CFiSessionManagerPtr& CFiPluginBase::sessionManager() const { return m_sessionManager; }

int CFiPluginBase::setOwnerIds(std::string resource, long ownerId, long groupId) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (resource.empty()) {
    traceLine(FI_TRACE_ERROR, "Error: setOwnerIds - invalid resource specified");
    return FI_INVALID;
  }
  const char* path = resource.c_str();
  traceLine(FI_TRACE_INFO, "INFO: setOwnerIds for [%s] with ownerid=[%ld], groupid=[%ld]", path,
            ownerId, groupId);
  struct stat status = {};
  if (::stat(path, &status) != 0) {
    traceLine(FI_TRACE_ERROR, "Error: setOwnerIds: Unable to stat partition %s errno=[%d]", path,
              errno);
    return FI_CANNOT_QUERY_DEVICE;
  }
  traceLine(FI_TRACE_INFO, "INFO: setOwnerIds chown for [%s] with OwnerId=%ld, GroupId=%ld", path,
            ownerId, groupId);
  int result = changeOwner(path, ownerId, groupId);
  bool matches = false;
  for (int pass = 0; result == FI_OK && !matches && pass < kOwnerPasses; ++pass) {
    result = retryOwner(path, ownerId, groupId, pass, matches);
  }
  if (result == FI_OK) traceLine(FI_TRACE_INFO, "INFO: setOwnerIds done");
  return result;
}

CFiPrivateDataPtr CFiPluginBase::findPrivateData(pyx_domain* domain) const {
  if (domain == nullptr || !m_privateDataManager) return CFiPrivateDataPtr();
  return m_privateDataManager->find(domain);
}

CFiPrivateDataPtr CFiPluginBase::findOrCreatePrivateData(pyx_domain* domain, int altNode) const {
  if (domain == nullptr || !m_privateDataManager) return CFiPrivateDataPtr();
  return m_privateDataManager->findOrCreate(domain, altNode);
}

CFiConfigParamInfoList& CFiPluginBase::firstConfigInfoList(int index) {
  return m_firstInfoLists[index];
}

CFiConfigParamInfoList& CFiPluginBase::secondConfigInfoList(int index) {
  return m_secondInfoLists[index];
}

int CFiPluginBase::configGet(CFiPrivateData& data, int index, pyx_confspec& spec) {
  if (data.hasConfigDataList(index)) {
    spec.text = copyUnlessEmpty(data.configDataList(index));
  } else if (data.hasConfigInfoList(index)) {
    spec.text = storeDefaults(data, index);
  } else {
    const CFiConfigParamDataList defaults = m_firstInfoLists[index].getDefaultDataList();
    const tstr& xml = defaults.getXML();
    spec.text = xml.is_empty() ? nullptr : copyOf(xml);
  }
  traceLine(FI_TRACE_ERROR, "GET: Mode[%d]: %s \n", index, textOf(&spec));
  return FI_OK;
}

int CFiPluginBase::configSet(CFiPrivateData& data, int index, pyx_confspec& spec) {
  if (spec.text == nullptr) {
    traceLine(FI_TRACE_ERROR, "ERROR: SET: Mode[%d], Invalid config string.\n", index);
    return FI_OK;
  }
  const bool hadList = data.hasConfigDataList(index);
  CFiConfigParamDataList other;  // the new values while they are read, then those of before
  bool isExchanged = false;
  try {
    CFiConfigParamDataList* values = data.configDataList(index);
    const int result = values != nullptr ? other.parse(spec.text) : FI_INVALID;
    if (result != FI_OK) {
      if (values != nullptr) {
        other.params.swap(values->params);  // the values stay, with the text that was given
        values->swap(other);
      }
      traceLine(FI_TRACE_ERROR, "ERROR: SET: Mode[%d]: Invalid XML [%s] \n", index, spec.text);
      spec.text = nullptr;
      return result;
    }
    values->swap(other);
    isExchanged = true;
    spec.text = completeValues(data, index);
  } catch (...) {
    CFiConfigParamDataList* values = isExchanged && hadList ? data.configDataList(index) : nullptr;
    if (values != nullptr) values->swap(other);
    if (!hadList) data.dropConfigDataList(index);
    throw;
  }
  return FI_OK;
}

// Adds the defaults to values that were set; answers with the document of all.
char* CFiPluginBase::completeValues(CFiPrivateData& data, int index) {
  data.addDefaultConfigParamsToDataList(
      index, data.hasConfigInfoList(index) ? nullptr : &m_firstInfoLists[index]);
  // A class that denies its list has replaced it meanwhile.
  const CFiConfigParamDataList* values = data.configDataList(index);
  return values != nullptr ? copyOf(values->getXML()) : nullptr;
}

int CFiPluginBase::configGetParam(CFiPrivateData& data, int index, bool primary,
                                  pyx_confspec& spec) {
  spec.text = nullptr;
  if (data.hasConfigInfoList(index)) spec.text = copyUnlessEmpty(data.configInfoList(index));
  if (spec.text == nullptr) spec.text = copyUnlessEmpty(globalConfigInfoList(index, primary));
  traceLine(FI_TRACE_INFO, "GETPARAM: Mode[%d]: %s \n", index, textOf(&spec));
  return FI_OK;
}

int CFiPluginBase::changeOwner(const char* path, long ownerId, long groupId) {
  if (::chown(path, static_cast<uid_t>(ownerId), static_cast<gid_t>(groupId)) == 0) return FI_OK;
  traceLine(FI_TRACE_ERROR,
            "Error: set_owner_ids - chown: Unable to chown resource %s, errno=[%d].", path, errno);
  return FI_CANNOT_CHANGE_OWNER;
}

int CFiPluginBase::retryOwner(const char* path, long ownerId, long groupId, int pass,
                              bool& matches) {
  traceLine(FI_TRACE_INFO, "INFO: setOwnerIds chown retry count [%d] with OwnerId=%ld, GroupId=%ld",
            pass, ownerId, groupId);
  const int result = changeOwner(path, ownerId, groupId);
  if (result != FI_OK) return result;
  struct stat status = {};
  if (::stat(path, &status) != 0) {
    traceLine(FI_TRACE_ERROR,
              "Error: set_owner_ids - stat: Unable to stat resource %s, errno=[%d].", path, errno);
    return FI_CANNOT_QUERY_DEVICE;
  }
  const long owner = status.st_uid;
  const long group = status.st_gid;
  traceLine(FI_TRACE_INFO,
            "INFO: stat on [%s], st.st_uid=[%ld], st.st_gid=[%ld] uid= [%ld], gid = [%ld]", path,
            owner, group, ownerId, groupId);
  matches = owner == ownerId && group == groupId;
  if (matches) {
    traceLine(FI_TRACE_INFO, "setOwnerIds: Got matching gid, pid.");
  } else {
    traceLine(FI_TRACE_INFO, "setOwnerIds: Waiting for system to read. Partition table.");
    waitSeconds(kOwnerWaitSeconds);
  }
  return FI_OK;
}

}  // namespace orca_pdk_4_4
