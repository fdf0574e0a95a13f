#include "cfiparameters.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace orca_pdk_4_4 {

namespace {

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all.append(all.empty() ? "" : ", ").append(text);
  return all;
}

bool isList(const CFiConfigParamInfo& info) {
  return info.dataType == FI_DATATYPE_STRING_LIST || info.dataType == FI_DATATYPE_INT_LIST ||
         info.dataType == FI_DATATYPE_BOOLEAN_LIST;
}

bool isInt(const CFiConfigParamInfo& info) {
  return info.dataType == FI_DATATYPE_INT || info.dataType == FI_DATATYPE_INT_LIST;
}

bool isBoolean(const CFiConfigParamInfo& info) {
  return info.dataType == FI_DATATYPE_BOOLEAN || info.dataType == FI_DATATYPE_BOOLEAN_LIST;
}

// A range of which both bounds are -1 is none.
bool hasRange(const CFiConfigParamInfo& info) { return info.rangeMin != -1 || info.rangeMax != -1; }

std::optional<long> numberOf(const std::string& text) {
  long number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

bool isAllowed(const CFiConfigParamInfo& info, const std::string& value) {
  if (isBoolean(info)) return value == "true" || value == "false";
  if (isInt(info)) {
    const std::optional<long> number = numberOf(value);
    return number && (!hasRange(info) || (info.rangeMin <= *number && *number <= info.rangeMax));
  }
  const auto& choices = info.selectionList;
  return choices.empty() || std::find(choices.begin(), choices.end(), value) != choices.end();
}

std::vector<std::string> valuesOf(const CFiConfigParamData& data) {
  return data.valueList.empty() ? std::vector<std::string>{data.value} : data.valueList;
}

CFiConfigParamInfo described(const std::string& key, const std::string& messageId, int32_t type,
                             std::string defaultValue) {
  CFiConfigParamInfo info;
  info.key = key;
  info.messageId = messageId;
  info.dataType = type;
  info.usageType = FI_USAGE_SELECT;
  info.defaultValue = std::move(defaultValue);
  return info;
}

}  // namespace

std::string allowedValues(const CFiConfigParamInfo& info) {
  if (isBoolean(info)) return "true, false";
  if (!isInt(info)) return joined(info.selectionList);
  if (!hasRange(info)) return "a number";
  return std::to_string(info.rangeMin) + "-" + std::to_string(info.rangeMax);
}

std::optional<SFiParameterFault> checkParameter(const CFiConfigParamInfo& info,
                                                const CFiConfigParamData& data) {
  const std::vector<std::string> values = valuesOf(data);
  if (values.size() > 1 && !isList(info)) {
    return SFiParameterFault{info.key, joined(values), "one value", false};
  }
  for (const std::string& value : values) {
    if (!isAllowed(info, value))
      return SFiParameterFault{info.key, value, allowedValues(info), false};
  }
  return std::nullopt;
}

SFiFailure refused(const SFiParameterFault& fault) {
  const SFiHelperMessages ids;
  if (fault.isUnknown) return {ids.unknownParameter, {fault.key, fault.allowed}, FI_INVALID};
  return {ids.badValue, {fault.key, fault.value, fault.allowed}, FI_INVALID};
}

CFiParameters::CFiParameters() = default;
CFiParameters::CFiParameters(const CFiParameters&) = default;
CFiParameters& CFiParameters::operator=(const CFiParameters&) = default;
CFiParameters::~CFiParameters() = default;

CFiParameters& CFiParameters::addText(const std::string& key, const std::string& messageId,
                                      const std::string& defaultValue) {
  return add(described(key, messageId, FI_DATATYPE_STRING, defaultValue));
}

CFiParameters& CFiParameters::addNumber(const std::string& key, const std::string& messageId,
                                        int32_t defaultValue, int32_t min, int32_t max) {
  CFiConfigParamInfo info =
      described(key, messageId, FI_DATATYPE_INT, std::to_string(defaultValue));
  info.rangeMin = min;
  info.rangeMax = max;
  return add(info);
}

CFiParameters& CFiParameters::addFlag(const std::string& key, const std::string& messageId,
                                      bool defaultValue) {
  return add(described(key, messageId, FI_DATATYPE_BOOLEAN, defaultValue ? "true" : "false"));
}

CFiParameters& CFiParameters::addChoice(const std::string& key, const std::string& messageId,
                                        const std::string& defaultValue,
                                        std::vector<std::string> choices) {
  CFiConfigParamInfo info = described(key, messageId, FI_DATATYPE_STRING_LIST, defaultValue);
  info.selectionList = std::move(choices);
  return add(info);
}

CFiParameters& CFiParameters::add(const CFiConfigParamInfo& info) {
  m_infos[info.key] = info;
  return *this;
}

void CFiParameters::describe(CFiConfigParamInfoList& list) const {
  for (const auto& [key, info] : m_infos) list.params[key] = info;
  list.updateXML();
}

std::optional<SFiParameterFault> CFiParameters::checkOne(const std::string& key,
                                                         const CFiConfigParamData& data) const {
  const auto found = m_infos.find(key);
  if (found != m_infos.end()) return checkParameter(found->second, data);
  std::vector<std::string> keys;
  for (const auto& entry : m_infos) keys.push_back(entry.first);
  return SFiParameterFault{key, joined(valuesOf(data)), joined(keys), true};
}

std::optional<SFiParameterFault> CFiParameters::check(const CFiConfigParamDataList& values) const {
  for (const auto& [key, data] : values.params) {
    if (std::optional<SFiParameterFault> fault = checkOne(key, data)) return fault;
  }
  return std::nullopt;
}

void CFiParameters::requireAllowed(const CFiConfigParamDataList& values) const {
  if (const std::optional<SFiParameterFault> fault = check(values)) throw refused(*fault);
}

std::string CFiParameters::text(const CFiConfigParamDataList& values,
                                const std::string& key) const {
  CFiConfigParamData data;
  const auto given = values.params.find(key);
  const auto info = m_infos.find(key);
  if (given != values.params.end()) {
    data = given->second;
  } else if (info != m_infos.end()) {
    data.value = info->second.defaultValue;
  }
  if (const std::optional<SFiParameterFault> fault = checkOne(key, data)) {
    throw std::invalid_argument("parameter " + key + " cannot be \"" + fault->value + "\"");
  }
  return valuesOf(data).front();
}

long CFiParameters::number(const CFiConfigParamDataList& values, const std::string& key) const {
  const std::string value = text(values, key);
  if (const std::optional<long> number = numberOf(value)) return *number;
  throw std::invalid_argument("parameter " + key + " is no number: \"" + value + "\"");
}

bool CFiParameters::flag(const CFiConfigParamDataList& values, const std::string& key) const {
  return text(values, key) == "true";
}

}  // namespace orca_pdk_4_4
