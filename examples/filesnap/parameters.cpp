#include "parameters.h"

#include <cfitypes.h>

#include <charconv>

#include "failure.h"

namespace filesnap {

namespace {

using orca_pdk::CFiConfigParamInfo;

constexpr int kLeastKept = 1;
constexpr int kMostKept = 64;

CFiConfigParamInfo describe(const char* key, const char* messageId, int dataType,
                            const char* defaultValue) {
  CFiConfigParamInfo info;
  info.key = key;
  info.messageId = messageId;
  info.dataType = dataType;
  info.usageType = orca_pdk::FI_USAGE_SELECT;
  info.defaultValue = defaultValue;
  return info;
}

Failure refused(const std::string& key, const std::string& value, const std::string& allowed) {
  return {"FILESNAP_BAD_VALUE", {key, value, allowed}, orca_pdk::FI_INVALID};
}

std::string range() { return std::to_string(kLeastKept) + "-" + std::to_string(kMostKept); }

CopyMode readMode(const std::string& key, const std::string& value) {
  if (value == "auto") return CopyMode::kAuto;
  if (value == "reflink") return CopyMode::kReflink;
  if (value == "copy") return CopyMode::kCopy;
  throw refused(key, value, "auto, reflink, copy");
}

int readKeep(const std::string& key, const std::string& value) {
  int number = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || rest != end || number < kLeastKept || number > kMostKept) {
    throw refused(key, value, range());
  }
  return number;
}

bool readFlag(const std::string& key, const std::string& value) {
  if (value != "true" && value != "false") throw refused(key, value, "true, false");
  return value == "true";
}

void readOne(const orca_pdk::CFiConfigParamData& data, Parameters& parameters) {
  const std::string& key = data.key;
  const std::string& value = data.valueList.empty() ? data.value : data.valueList.front();
  if (data.valueList.size() > 1) throw refused(key, value, "1");
  if (key == "snapshot_dir") {
    if (value.empty()) throw refused(key, value, "/path, path");
    parameters.directory = value;
  } else if (key == "copy_mode") {
    parameters.mode = readMode(key, value);
  } else if (key == "keep") {
    parameters.keep = readKeep(key, value);
  } else if (key == "verify") {
    parameters.verify = readFlag(key, value);
  } else if (key == "deep") {
    parameters.deep = readFlag(key, value);
  } else {
    throw Failure{"FILESNAP_UNKNOWN_PARAMETER", {key}, orca_pdk::FI_INVALID};
  }
}

}  // namespace

void describeParameters(orca_pdk::CFiConfigParamInfoList& list) {
  using namespace orca_pdk;
  const Parameters defaults;
  CFiConfigParamInfo mode =
      describe("copy_mode", "FILESNAP_PARAM_COPY_MODE", FI_DATATYPE_STRING_LIST, "auto");
  mode.selectionList = {"auto", "reflink", "copy"};
  CFiConfigParamInfo keep = describe("keep", "FILESNAP_PARAM_KEEP", FI_DATATYPE_INT,
                                     std::to_string(defaults.keep).c_str());
  keep.rangeMin = kLeastKept;
  keep.rangeMax = kMostKept;
  for (const CFiConfigParamInfo& info :
       {describe("snapshot_dir", "FILESNAP_PARAM_SNAPSHOT_DIR", FI_DATATYPE_STRING,
                 defaults.directory.c_str()),
        mode, keep, describe("verify", "FILESNAP_PARAM_VERIFY", FI_DATATYPE_BOOLEAN, "false"),
        describe("deep", "FILESNAP_PARAM_DEEP", FI_DATATYPE_BOOLEAN, "false")}) {
    list.params[info.key] = info;
  }
  list.updateXML();
}

Parameters readParameters(const orca_pdk::CFiConfigParamDataList& values) {
  Parameters parameters;
  for (const auto& [key, data] : values.params) readOne(data, parameters);
  return parameters;
}

Parameters readParameters(orca_pdk::CFiPrivateData& data) {
  if (!data.hasConfigDataList(kSnapshotIndex)) return {};
  return readParameters(*data.configDataList(kSnapshotIndex));
}

}  // namespace filesnap
