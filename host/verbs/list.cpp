#include "cli/text.h"
#include "cli/verb.h"
#include "state/statestore.h"

namespace fihost {

namespace {

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
  }

  std::string text(const Json& answer) const override {
    if (!answer.contains("snapshots")) return "";
    if (answer["snapshots"].empty()) return "no snapshots\n";
    std::string text;
    for (const Json& row : answer["snapshots"]) {
      const SnapshotRecord record = SnapshotRecord::fromJson(row);
      text += printable(record.name + "  of " + record.node + "  by " + record.provider + "  " +
                        record.taken + "  session " + record.session) +
              "\n";
    }
    return text;
  }

 private:
  std::string m_plugin;
};

}  // namespace

std::unique_ptr<Verb> make_list() { return std::make_unique<List>(); }

}  // namespace fihost
