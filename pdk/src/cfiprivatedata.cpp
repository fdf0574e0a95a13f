#include "cfiprivatedata.h"

#include <cstring>
#include <new>
#include <utility>

#include "cfiscope.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

void assign(std::string& target, const char* text) {
  if (text != nullptr) target = text;
}

// True when one of the values' names contains the text.
bool isContainedInAName(const std::string& text, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (name.find(text) != std::string::npos) return true;
  }
  return false;
}

// Adds the defaults whose names are contained in no name that was there before.
void mergeDefaults(const CFiConfigParamDataList& defaults, CFiConfigParamDataList& values) {
  std::vector<std::string> names;
  for (const auto& [name, value] : values.params) names.push_back(name);
  bool added = false;
  for (const auto& [name, value] : defaults.params) {
    if (isContainedInAName(name, names)) continue;
    CFiConfigParamData& data = values.params[name];
    data.key = name;
    data.value = value.value;
    added = true;
  }
  if (added) values.updateXML();
}

}  // namespace

CFiPrivateData::CFiPrivateData(orca_objid* id) : m_objid(id) {}
CFiPrivateData::~CFiPrivateData() = default;

bool CFiPrivateData::hasConfigInfoList(int mode) { return m_infoLists[mode] != nullptr; }

bool CFiPrivateData::hasConfigDataList(int mode) { return m_dataLists[mode] != nullptr; }

void CFiPrivateData::addDefaultConfigParamsToDataList(int mode, CFiConfigParamInfoList* infoList) {
  const OperationScope scope(*this, kPrivateDataSource);
  if (infoList == nullptr) infoList = configInfoList(mode);
  if (infoList == nullptr) return;
  const CFiConfigParamDataList defaults = infoList->getDefaultDataList();
  if (defaults.params.empty()) return;
  CFiConfigParamDataList* values = configDataList(mode);
  if (values == nullptr) return;
  if (values->params.empty()) {
    *values = defaults;
  } else {
    mergeDefaults(defaults, *values);
  }
}

CFiConfigParamInfoList* CFiPrivateData::configInfoList(int mode) {
  if (!hasConfigInfoList(mode)) m_infoLists[mode] = std::make_unique<CFiConfigParamInfoList>();
  return m_infoLists[mode].get();
}

CFiConfigParamDataList* CFiPrivateData::configDataList(int mode) {
  if (!hasConfigDataList(mode)) m_dataLists[mode] = std::make_unique<CFiConfigParamDataList>();
  return m_dataLists[mode].get();
}

void CFiPrivateData::setIntent(pyx_intent intent) { m_intent = intent; }
pyx_intent CFiPrivateData::getIntent() { return m_intent; }

void CFiPrivateData::setSplitType(const char* splitType) { assign(m_splitType, splitType); }
std::string CFiPrivateData::getSplitType() { return m_splitType; }

void CFiPrivateData::setSessionId(const char* sessionId) { assign(m_sessionId, sessionId); }
std::string CFiPrivateData::getSessionId() { return m_sessionId; }

std::vector<tstr> CFiPrivateData::getHostList() { return m_hosts; }

void CFiPrivateData::setHostList(pyx_host_infn* first) {
  for (const pyx_host_infn* host = first; host != nullptr; host = host->next) {
    if (host->host != nullptr) m_hosts.emplace_back(host->host);
  }
}

bool CFiPrivateData::getTransportable() { return m_transportable; }
void CFiPrivateData::setTransportable(bool transportable) { m_transportable = transportable; }

int CFiPrivateData::setNodeState(pyx_blob*) { return FI_OK; }

int CFiPrivateData::getNodeState(pyx_blob* blob) {
  if (blob == nullptr) return FI_INVALID;
  std::string text = "<NODE_NAME>";
  text.append(CFiPrivateData::getObjName()).append("</NODE_NAME>\n");
  text.append("<IS_ALT_NODE>").append(CFiStringTool::bool2str(m_isAltNode));
  text.append("</IS_ALT_NODE>\n");
  text.append("<SESSION_ID>").append(m_sessionId).append("</SESSION_ID>\n");
  const std::size_t length = text.size() + 1;
  void* buffer = orca_alloc_buf(length);
  if (buffer == nullptr) throw std::bad_alloc();
  blob->length = length;
  blob->data = static_cast<char*>(std::memcpy(buffer, text.c_str(), length));
  blob->kind = 1;
  return FI_OK;
}

const char* CFiPrivateData::getObjName() {
  return m_objid != nullptr && m_objid->name != nullptr ? m_objid->name : "";
}

void CFiPrivateData::addSubObject(orca_objid* id) { m_subObjects.push_back(id); }

orca_objid** CFiPrivateData::getSubObjectList() {
  return m_subObjects.empty() ? nullptr : m_subObjects.data();
}

unsigned long CFiPrivateData::getSubObjectListLength() { return m_subObjects.size(); }

void CFiPrivateData::setIsAltNode(bool isAltNode) { m_isAltNode = isAltNode; }
bool CFiPrivateData::getIsAltNode() { return m_isAltNode; }

std::string CFiPrivateData::getConfiguredTarget() { return m_configuredTarget; }
std::vector<std::string> CFiPrivateData::getTargets() { return m_targets; }
void CFiPrivateData::addTarget(std::string target) { m_targets.push_back(std::move(target)); }

void CFiPrivateData::setConfiguredTarget(const std::string& target) { m_configuredTarget = target; }

}  // namespace orca_pdk_4_4
