#include "cli/text.h"
#include "cli/verb.h"
#include "state/statestore.h"

namespace fihost {

namespace {

// What the list shows of an intent. The name of the snapshot is not known.
Json rowOf(const SnapshotRecord& intent) {
  Json row = intent.toJson();
  for (const char* field : {"name", "provider_state"}) row.erase(field);
  return row;
}

std::string textOf(const Json& row) {
  const SnapshotRecord record = SnapshotRecord::fromJson(row);
  return printable(record.name + "  of " + record.node + "  by " + record.provider + "  " +
                   record.taken + "  session " + record.session) +
         "\n";
}

std::string textOfUnsettled(Json row) {
  row.update({{"name", ""}, {"provider_state", ""}});
  const SnapshotRecord intent = SnapshotRecord::fromJson(row);
  return printable("unsettled session " + intent.session + "  by " + intent.provider + "  of " +
                   intent.node + "  " + intent.taken) +
         "  ended before its end and may have left a snapshot; settle it by adopt or dispose\n";
}

class List : public Verb {
 public:
  const char* name() const override { return "list"; }
  const char* help() const override { return "List the snapshots that this host knows"; }
  void declare(VerbOptions& options) override { options.pluginOfSnapshots(m_plugin); }

  void run(Context& context) override {
    StateStore store(context.settings.stateFolder);
    Json list = Json::array();
    for (const SnapshotRecord& record : store.all()) list.push_back(record.toJson());
    context.report.answer()["snapshots"] = list;
    Json unsettled = Json::array();
    for (const SnapshotRecord& intent : store.unsettled()) unsettled.push_back(rowOf(intent));
    context.report.answer()["unsettled"] = unsettled;
  }

  std::string text(const Json& answer) const override {
    if (!answer.contains("snapshots")) return "";
    std::string text = answer["snapshots"].empty() ? "no snapshots\n" : "";
    for (const Json& row : answer["snapshots"]) text += textOf(row);
    for (const Json& row : rowsOf(answer, "unsettled")) text += textOfUnsettled(row);
    return text;
  }

 private:
  std::string m_plugin;
};

}  // namespace

std::unique_ptr<Verb> make_list() { return std::make_unique<List>(); }

}  // namespace fihost
