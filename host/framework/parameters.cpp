#include "framework/parameters.h"

#include <cficonfighandler.h>
#include <cfisaxparser.h>

#include <fstream>
#include <set>
#include <sstream>

#include "cli/exitstatus.h"

namespace fihost {

namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (!in || !(text << in.rdbuf())) {
    throw Problem{kWrongUse, "cannot read " + path + ", or it is empty"};
  }
  return text.str();
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
  if (!file.empty() && values.parse(readFile(file).c_str()) != 0) {
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
