#include "framework/parameters.h"

#include <cficonfighandler.h>
#include <cfiparameters.h>
#include <cfisaxparser.h>

#include <set>

#include "cli/exitstatus.h"
#include "files/inputfile.h"

namespace fihost {

namespace {

std::string misfit(const std::string& key, const orca_pdk::CFiConfigParamInfo& info,
                   const orca_pdk::CFiConfigParamData& data) {
  if (info.usageType == orca_pdk::FI_USAGE_NO_MODIFY) return "parameter " + key + " cannot be set";
  const auto fault = orca_pdk::checkParameter(info, data);
  if (!fault) return "";
  std::string refusal = "parameter " + key;
  refusal.append(" cannot be \"").append(fault->value).append("\"; it is of type ");
  refusal.append(dataTypeName(info.dataType));
  return fault->allowed.empty() ? refusal : refusal.append(", allowed: ").append(fault->allowed);
}

}  // namespace

const char* dataTypeName(int32_t type) {
  static constexpr const char* kNames[] = {"string",      "int",      "boolean",
                                           "string_list", "int_list", "boolean_list"};
  return type >= 0 && type < 6 ? kNames[type] : "unknown";
}

const char* usageName(int32_t usage) {
  static constexpr const char* kNames[] = {"SELECT", "AUTO", "NO_MODIFY"};
  return usage >= 0 && usage < 3 ? kNames[usage] : "UNKNOWN";
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
