#include <cfiparameters.h>

#include <algorithm>

#include "cli/text.h"
#include "framework/operations.h"
#include "framework/parameters.h"
#include "verbs/withprovider.h"

namespace fihost {

namespace {

Json toJson(Caller& caller, const Descriptions& descriptions) {
  Json list = Json::array();
  for (const auto& [key, info] : descriptions) {
    list.push_back({{"key", key},
                    {"type", dataTypeName(info.dataType)},
                    {"use", usageName(info.usageType)},
                    {"default", info.defaultValue},
                    {"range_min", info.rangeMin},
                    {"range_max", info.rangeMax},
                    {"choices", info.selectionList},
                    {"allowed", orca_pdk::allowedValues(info)},
                    {"shared", info.isSharedParam},
                    {"message_id", info.messageId},
                    {"meaning", ops::catalogText(caller, info.messageId)}});
  }
  return list;
}

using Row = std::vector<std::string>;

std::string tableText(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
    }
    text += printable(line) + "\n";
  }
  return text;
}

class Params : public Verb {
 public:
  const char* name() const override { return "params"; }
  const char* help() const override { return "Show the parameters of a node"; }
  void declare(VerbOptions& options) override {
    options.plugin(m_plugin);
    options.nodes("The node", 1, 1, m_nodes);
    options.flag("--xml", "The document as the provider gave it", m_xml);
  }
  bool showsOperations() const override { return false; }

  void run(Context& context) override {
    Json& answer = context.report.answer();
    withProvider(context, m_plugin, [&](ProviderRun& run) {
      std::string document;
      Descriptions descriptions;
      if (!run.lifecycle.begin(m_nodes, Lifecycle::Claim::Yes) ||
          !ops::configGetParam(run.caller, run.lifecycle.nodes()[0], "", document)) {
        return;
      }
      if (m_xml) {
        answer["xml"] = document;
      } else if (readDescriptions(run.caller, document, descriptions)) {
        answer["parameters"] = toJson(run.caller, descriptions);
      }
    });
  }

  std::string text(const Json& answer) const override {
    if (answer.contains("xml")) return answer["xml"];
    if (!answer.contains("parameters")) return "";
    if (answer["parameters"].empty()) return "no parameters\n";
    std::vector<Row> rows{{"KEY", "TYPE", "USE", "DEFAULT", "ALLOWED", "SHARED", "MEANING"}};
    for (const Json& row : answer["parameters"]) {
      rows.push_back({row["key"], row["type"], row["use"], row["default"], row["allowed"],
                      row["shared"] ? "yes" : "no", row["meaning"]});
    }
    return tableText(rows);
  }

 private:
  std::string m_plugin;
  std::vector<std::string> m_nodes;
  bool m_xml = false;
};

}  // namespace

std::unique_ptr<Verb> make_params() { return std::make_unique<Params>(); }

}  // namespace fihost
