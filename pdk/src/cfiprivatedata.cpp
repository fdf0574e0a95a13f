#include "cfiprivatedata.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <string_view>
#include <utility>

#include "cfiscope.h"
#include "cfistringtool.h"
#include "cfitstr.h"
#include "cfiudid.h"

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

// Adds the defaults whose names are contained in no name that was there before, all or none.
void mergeDefaults(const CFiConfigParamDataList& defaults, CFiConfigParamDataList& values) {
  std::vector<std::string> names;
  for (const auto& [name, value] : values.params) names.push_back(name);
  std::map<std::string, CFiConfigParamData> added;
  for (const auto& [name, value] : defaults.params) {
    if (isContainedInAName(name, names)) continue;
    CFiConfigParamData& data = added[name];
    data.key = name;
    data.value = value.value;
  }
  if (added.empty()) return;
  values.params.merge(added);
  try {
    values.updateXML();
  } catch (...) {
    std::erase_if(values.params, [&](const auto& entry) {
      return !std::binary_search(names.begin(), names.end(), entry.first);
    });
    throw;
  }
}

constexpr char kResourceSpec[] = "snapshot_resource_spec";
constexpr int kSnapshotMode = 1;
constexpr std::string_view kPartSeparator = "##";

}  // namespace

struct CFiPrivateData::ResourceItem {
  std::string enclosure;
  std::string device;

  bool isSource(const CFiUdid& udid) const {
    return CFiStringTool::CompareNoCase(device, udid.getDevice()) &&
           CFiStringTool::CompareNoCase(enclosure, udid.getEnclosure());
  }
};

CFiPrivateData::CFiPrivateData(orca_objid* id) : m_objid(id) {}

CFiPrivateData::~CFiPrivateData() = default;

bool CFiPrivateData::hasConfigInfoList(int mode) { return m_infoLists[mode] != nullptr; }

void CFiPrivateData::dropConfigDataList(int mode) noexcept { m_dataLists[mode].reset(); }

bool CFiPrivateData::hasConfigDataList(int mode) { return m_dataLists[mode] != nullptr; }

void CFiPrivateData::addDefaultConfigParamsToDataList(int mode, CFiConfigParamInfoList* infoList) {
  const OperationScope scope(*this, kPrivateDataSource);
  if (infoList == nullptr) infoList = configInfoList(mode);
  if (infoList == nullptr) return;
  CFiConfigParamDataList defaults = infoList->getDefaultDataList();
  if (defaults.params.empty()) return;
  CFiConfigParamDataList* values = configDataList(mode);
  if (values == nullptr) return;
  if (values->params.empty()) {
    values->swap(defaults);
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

std::vector<tstr> CFiPrivateData::getHostList() {
  std::vector<tstr> hosts;
  hosts.reserve(m_hosts.size());
  for (const std::string& host : m_hosts) appendTstr(hosts, host);
  return hosts;
}

void CFiPrivateData::setHostList(pyx_host_infn* first) {
  std::vector<std::string> hosts = m_hosts;
  for (const pyx_host_infn* host = first; host != nullptr; host = host->next) {
    if (host->host != nullptr) hosts.emplace_back(host->host);
  }
  m_hosts.swap(hosts);
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

int CFiPrivateData::selectTargetFromConfigData() {
  const OperationScope scope(*this, kPrivateDataSource);
  CFiUdid udid{tstr(getObjName())};
  traceLine(FI_TRACE_INFO, "called for UDID [%s] \n", udid.toString().c_str());
  std::vector<std::string> entries;
  if (!readResourceSpec(entries)) return FI_FAILED;
  m_targets.clear();
  for (const std::string& entry : entries) {
    switch (readSourceEntry(entry, udid)) {
      case EEntry::failed:
        return FI_FAILED;
      case EEntry::found:
        return configureTarget(udid);
      case EEntry::other:
        break;
    }
  }
  traceLine(FI_TRACE_ERROR, "No matching source specification found for [%s].", getObjName());
  return FI_FAILED;
}

bool CFiPrivateData::readResourceSpec(std::vector<std::string>& entries) {
  if (!hasConfigDataList(kSnapshotMode)) {
    traceLine(FI_TRACE_ERROR, "Error: No snapshot configuration data has been specified for [%s]",
              getObjName());
    return false;
  }
  const CFiConfigParamDataList* values = configDataList(kSnapshotMode);
  if (values == nullptr || !values->params.contains(kResourceSpec)) {
    traceLine(FI_TRACE_ERROR, "Configuration data parameter \"%s\" unspecified for object [%s].",
              kResourceSpec, getObjName());
    return false;
  }
  std::string value = values->params.at(kResourceSpec).value;
  traceLine(FI_TRACE_INFO, "FI_CONFIG_PARAM_SNAPSHOT_RESOURCE_SPEC: [%s]", value.c_str());
  value = CFiStringTool::convertFromXmlSpecialCharacters(value);
  entries = CFiStringTool::tokenize(value, "[]&\n\r");
  if (!entries.empty()) return true;
  traceLine(FI_TRACE_ERROR, "Configuration \"%s\" has no resources specified for source [%s].",
            value.c_str(), getObjName());
  return false;
}

CFiPrivateData::EEntry CFiPrivateData::readSourceEntry(const std::string& entry,
                                                       const CFiUdid& udid) {
  traceLine(FI_TRACE_INFO, "Info: resourceSpec [%s] \n", entry.c_str());
  const std::vector<std::string> items = CFiStringTool::tokenize(entry, ";");
  if (items.empty()) {
    traceLine(FI_TRACE_ERROR, "Source configuration \"%s\" has not targets specified for [%s].",
              entry.c_str(), getObjName());
    return EEntry::failed;
  }
  ResourceItem item;
  if (!readItem(items.front(), item)) return EEntry::failed;
  if (item.enclosure.empty()) {
    traceLine(FI_TRACE_ERROR,
              "Source configuration \"%s\" has no enclosure data specified for [%s].",
              items.front().c_str(), getObjName());
    return EEntry::failed;
  }
  if (!item.isSource(udid)) return EEntry::other;
  traceLine(FI_TRACE_INFO, "Source found [%s] \n", udid.toString().c_str());
  for (std::size_t i = 1; i < items.size(); ++i) {
    if (!readItem(items[i], item)) return EEntry::failed;
    addTarget(item.device);
  }
  return EEntry::found;
}

// Takes an item apart; one without an enclosure keeps that of the item before it. False, with the
// reason traced, for one without a device.
bool CFiPrivateData::readItem(const std::string& text, ResourceItem& item) {
  traceLine(FI_TRACE_INFO, "resourceSpec [%s] \n", text.c_str());
  const std::size_t end = text.find(kPartSeparator);
  if (end == std::string::npos) {
    item.device = text;
  } else {
    item.enclosure = text.substr(0, end);
    item.device = text.substr(end + kPartSeparator.size());
  }
  traceLine(FI_TRACE_DETAIL, "RESINFO: [%s][%s]", item.enclosure.c_str(), item.device.c_str());
  if (!item.device.empty()) return true;
  traceLine(FI_TRACE_ERROR, "Source configuration \"%s\" has no device data specified for [%s].",
            text.c_str(), getObjName());
  return false;
}

int CFiPrivateData::configureTarget(CFiUdid& udid) {
  const std::vector<std::string> targets = getTargets();
  if (targets.empty()) {
    traceLine(FI_TRACE_ERROR, "Source configuration found, but no targets are specified for [%s].",
              getObjName());
    return FI_FAILED;
  }
  udid.setDevice(targets.front());
  const std::string target = udid.toString();
  setConfiguredTarget(target);
  traceLine(FI_TRACE_INFO, "Target Udid [%s] \n", target.c_str());
  return FI_OK;
}

}  // namespace orca_pdk_4_4
