#include "framework/parameters.h"

#include <cficonfighandler.h>
#include <cfisaxparser.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "cli/exitstatus.h"
#include "cli/text.h"

namespace fihost {

namespace {

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
  if (info.rangeMin != -1 || info.rangeMax != -1) {
    return std::to_string(info.rangeMin) + " to " + std::to_string(info.rangeMax);
  }
  std::string choices;
  for (const std::string& item : info.selectionList) {
    choices += (choices.empty() ? "" : ", ") + item;
  }
  return choices;
}

// The provider's name for a parameter in the native language.
std::string parameterTitle(Caller& caller, const std::string& messageId) {
  const auto& catalogs = caller.plugin().provider().catalogManager();
  if (messageId.empty() || !catalogs) return messageId;
  std::string title = messageId;
  caller.call(Op::CatalogMessage, "", {{"message", messageId}, {"locale", "native"}}, [&](auto&) {
    char* text = nullptr;
    catalogs->getLocalizedMessage(messageId.c_str(), "native", &text);
    if (text == nullptr) return;
    title = text;
    catalogs->deleteLocalizedMessage(&text);
  });
  return title;
}

using Row = std::vector<std::string>;

void printTable(Report& report, const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
    }
    report.line(printable(line));
  }
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (!in || !(text << in.rdbuf())) {
    throw Problem{kWrongUse, "cannot read " + path + ", or it is empty"};
  }
  return text.str();
}

}  // namespace

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

void showDescriptions(Caller& caller, Report& report, const Descriptions& descriptions) {
  auto list = nlohmann::ordered_json::array();
  std::vector<Row> rows{{"KEY", "TYPE", "USE", "DEFAULT", "ALLOWED", "SHARED", "MEANING"}};
  for (const auto& [key, info] : descriptions) {
    const std::string title = parameterTitle(caller, info.messageId);
    rows.push_back({key, dataTypeName(info.dataType), usageName(info.usageType), info.defaultValue,
                    allowedValues(info), info.isSharedParam ? "yes" : "no", title});
    list.push_back({{"key", key},
                    {"type", dataTypeName(info.dataType)},
                    {"use", usageName(info.usageType)},
                    {"default", info.defaultValue},
                    {"range_min", info.rangeMin},
                    {"range_max", info.rangeMax},
                    {"choices", info.selectionList},
                    {"shared", info.isSharedParam},
                    {"message_id", info.messageId},
                    {"meaning", title}});
  }
  report.document()["parameters"] = list;
  if (descriptions.empty()) {
    report.line("no parameters");
  } else {
    printTable(report, rows);
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
