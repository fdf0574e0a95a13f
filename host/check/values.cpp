#include "check/values.h"

#include "framework/operations.h"

namespace fihost::check {

Descriptions descriptionsOf(Life& life) {
  std::string document;
  Descriptions descriptions;
  life.orSkip(ops::configGetParam(life.caller(), life.node(), life.session(), document) &&
                  readDescriptions(life.caller(), document, descriptions),
              "the parameters cannot be read");
  if (descriptions.empty()) throw Skipped{"the provider describes no parameters"};
  return descriptions;
}

std::string documentOf(const std::vector<Setting>& settings) {
  return wantedValues("", settings).getXML().c_str();
}

std::string valuesOf(Life& life, Node& node) {
  std::string values;
  life.must(ops::configGet(life.caller(), node, life.session(), values));
  return values;
}

std::string valueOf(const std::string& document, const std::string& key) {
  orca_pdk::CFiConfigParamDataList values;
  require(document.empty() || values.parse(document.c_str()) == 0,
          "GET gave no ConfigValueList: " + document);
  return values.getParamData(key.c_str()).value;
}

Setting anotherValue(const Descriptions& descriptions) {
  for (const auto& [key, info] : descriptions) {
    if (info.usageType == orca_pdk::FI_USAGE_NO_MODIFY) continue;
    if (info.dataType == orca_pdk::FI_DATATYPE_BOOLEAN) {
      return {key, info.defaultValue == "true" ? "false" : "true"};
    }
    for (const std::string& choice : info.selectionList) {
      if (choice != info.defaultValue) return {key, choice};
    }
    if (info.rangeMax != info.rangeMin) {
      const std::string most = std::to_string(info.rangeMax);
      return {key, most == info.defaultValue ? std::to_string(info.rangeMin) : most};
    }
  }
  throw Skipped{"no parameter allows a value other than its default"};
}

}  // namespace fihost::check
