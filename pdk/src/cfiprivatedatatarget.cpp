#include <string_view>

#include "cfiprivatedata.h"
#include "cfiscope.h"
#include "cfistringtool.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr char kResourceSpec[] = "snapshot_resource_spec";
constexpr int kSnapshotMode = 1;
constexpr std::string_view kPartSeparator = "##";

struct ResourceItem {
  std::string enclosure;
  std::string device;
};

// Takes an item apart; one without an enclosure keeps that of the item before it.
void readItem(const std::string& text, ResourceItem& item) {
  const std::size_t end = text.find(kPartSeparator);
  if (end == std::string::npos) {
    item.device = text;
  } else {
    item.enclosure = text.substr(0, end);
    item.device = text.substr(end + kPartSeparator.size());
  }
}

bool isSource(const ResourceItem& item, const CFiUdid& udid) {
  return CFiStringTool::CompareNoCase(item.device, udid.getDevice()) &&
         CFiStringTool::CompareNoCase(item.enclosure, udid.getEnclosure());
}

}  // namespace

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
  for (const std::string& text : items) {
    traceLine(FI_TRACE_INFO, "resourceSpec [%s] \n", text.c_str());
    readItem(text, item);
    traceLine(FI_TRACE_DETAIL, "RESINFO: [%s][%s]", item.enclosure.c_str(), item.device.c_str());
    if (item.device.empty()) {
      traceLine(FI_TRACE_ERROR,
                "Source configuration \"%s\" has no device data specified for [%s].", text.c_str(),
                getObjName());
      return EEntry::failed;
    }
    if (&text != &items.front()) {
      addTarget(item.device);
      continue;
    }
    if (item.enclosure.empty()) {
      traceLine(FI_TRACE_ERROR,
                "Source configuration \"%s\" has no enclosure data specified for [%s].",
                text.c_str(), getObjName());
      return EEntry::failed;
    }
    if (!isSource(item, udid)) return EEntry::other;
    traceLine(FI_TRACE_INFO, "Source found [%s] \n", udid.toString().c_str());
  }
  return EEntry::found;
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
