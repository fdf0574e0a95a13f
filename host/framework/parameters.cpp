#include "framework/parameters.h"

#include <cficonfighandler.h>
#include <cfisaxparser.h>

#include <algorithm>
#include <charconv>
#include <set>

#include "cli/exitstatus.h"
#include "cli/inputfile.h"

namespace fihost {

namespace {

// A range of which both bounds are -1 is none.
bool hasRange(const orca_pdk::CFiConfigParamInfo& info) {
  return info.rangeMin != -1 || info.rangeMax != -1;
}

bool isInt(const std::string& value, long& number) {
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  return error == std::errc() && end == value.data() + value.size();
}

std::string misfit(const std::string& key, const orca_pdk::CFiConfigParamInfo& info,
                   const orca_pdk::CFiConfigParamData& data) {
  if (info.usageType == orca_pdk::FI_USAGE_NO_MODIFY) return "parameter " + key + " cannot be set";
  if (!data.valueList.empty() && info.dataType < orca_pdk::FI_DATATYPE_STRING_LIST) {
    return "parameter " + key + " takes one value";
  }
  std::vector<std::string> values(data.valueList.begin(), data.valueList.end());
  if (values.empty()) values.push_back(data.value);
  for (const std::string& value : values) {
    if (isFitting(info, value)) continue;
    const std::string allowed = allowedValues(info);
    std::string refusal = "parameter " + key;
    refusal.append(" cannot be \"").append(value).append("\"; it is of type ");
    refusal.append(dataTypeName(info.dataType));
    return allowed.empty() ? refusal : refusal.append(", allowed: ").append(allowed);
  }
  return "";
}

}  // namespace

bool isFitting(const orca_pdk::CFiConfigParamInfo& info, const std::string& value) {
  long number = 0;
  switch (info.dataType) {
    case orca_pdk::FI_DATATYPE_INT:
    case orca_pdk::FI_DATATYPE_INT_LIST:
      return isInt(value, number) &&
             (!hasRange(info) || (info.rangeMin <= number && number <= info.rangeMax));
    case orca_pdk::FI_DATATYPE_BOOLEAN:
    case orca_pdk::FI_DATATYPE_BOOLEAN_LIST:
      return value == "true" || value == "false";
    default:
      return info.selectionList.empty() ||
             std::find(info.selectionList.begin(), info.selectionList.end(), value) !=
                 info.selectionList.end();
  }
}

const char* dataTypeName(int32_t type) {
  static constexpr const char* kNames[] = {"string",      "int",      "boolean",
                                           "string_list", "int_list", "boolean_list"};
  return type >= 0 && type < 6 ? kNames[type] : "unknown";
}

const char* usageName(int32_t usage) {
  static constexpr const char* kNames[] = {"SELECT", "AUTO", "NO_MODIFY"};
  return usage >= 0 && usage < 3 ? kNames[usage] : "UNKNOWN";
}

std::string allowedValues(const orca_pdk::CFiConfigParamInfo& info) {
  if (hasRange(info)) return std::to_string(info.rangeMin) + " to " + std::to_string(info.rangeMax);
  std::string choices;
  for (const std::string& item : info.selectionList) {
    choices += (choices.empty() ? "" : ", ") + item;
  }
  return choices;
}

std::vector<std::string> misfits(const orca_pdk::CFiConfigParamDataList& values,
                                 const Descriptions& descriptions) {
  std::vector<std::string> sentences;
  for (const auto& [key, data] : values.params) {
    const auto found = descriptions.find(key);
    const std::string sentence = found == descriptions.end()
                                     ? "the provider describes no parameter " + key
                                     : misfit(key, found->second, data);
    if (!sentence.empty()) sentences.push_back(sentence);
  }
  return sentences;
}

bool readDescriptions(Caller& caller, const std::string& document, Descriptions& descriptions) {
  if (document.empty()) return true;
  try {
    orca_pdk::CFiGetConfigParamListHandler handler;
    orca_pdk::CFiSaxParser parser(&handler);
    parser.parse(document);
    descriptions = handler.getList().params;
    return true;
  } catch (...) {
    return caller.refuse("the answer is no readable document of parameters");
  }
}

orca_pdk::CFiConfigParamDataList wantedValues(
    const std::string& file, const std::vector<std::pair<std::string, std::string>>& settings) {
  orca_pdk::CFiConfigParamDataList values;
  if (!file.empty() && values.parse(readInput(file).c_str()) != 0) {
    throw Problem{kWrongUse, file + " is no document of parameter values"};
  }
  std::set<std::string> seen;
  for (const auto& [key, value] : settings) {
    auto& entry = values.params[key];
    if (seen.insert(key).second) {
      entry = {};
      entry.key = key;
      entry.value = value;
    } else {
      if (entry.valueList.empty()) entry.valueList.push_back(entry.value);
      entry.valueList.push_back(value);
    }
  }
  values.updateXML();
  return values;
}

}  // namespace fihost
