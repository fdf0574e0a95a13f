#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "cfifimlist.h"
#include "cfipluginbase.h"
#include "cfiscope.h"

namespace orca_pdk_4_4 {

namespace {

constexpr uint32_t kAccessOff = 0x40;
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

void CFiPluginBase::deInitNode(pyx_domain* domain) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (domain == nullptr) return;
  pyx_node_fim* list = domain->fim_list;
  domain->fim_list = nullptr;
  freeFimList(list);
  if (m_privateDataManager) m_privateDataManager->remove(domain);
}

int CFiPluginBase::reAccessAltNode(pyx_domain* domain, orca_objid*, orca_objid*, char* sessionId,
                                   orca_objid**, orca_objid**, int, pyx_intent intent) {
  const OperationScope scope(*this, kPluginBaseSource);
  const CFiPrivateDataPtr data = findOrCreatePrivateData(domain, 0);
  if (data) reAttach(*data, intent, sessionId);
  return FI_OK;
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

int CFiPluginBase::disableAccess(pyx_node_subobj_list* list, long) {
  const OperationScope scope(*this, kPluginBaseSource);
  return changeFlags(list, [](uint32_t& flags) { flags |= kAccessOff; });
}

int CFiPluginBase::enableAccess(pyx_node_subobj_list* list, long, int, int) {
  const OperationScope scope(*this, kPluginBaseSource);
  return changeFlags(list, [](uint32_t& flags) { flags &= ~kAccessOff; });
}

}  // namespace orca_pdk_4_4
