#include "verbs/snapshotset.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "cli/exitstatus.h"
#include "cli/text.h"
#include "framework/exceptions.h"
#include "framework/operations.h"

namespace fihost {

namespace {

std::vector<std::string> textsOf(const SnapshotRecords& records,
                                 std::string SnapshotRecord::*text) {
  std::vector<std::string> texts;
  for (const SnapshotRecord& record : records) texts.push_back(record.*text);
  return texts;
}

std::vector<std::string> distinct(const std::vector<std::string>& texts) {
  std::set<std::string> seen;
  std::vector<std::string> result;
  for (const std::string& text : texts) {
    if (seen.insert(text).second) result.push_back(text);
  }
  return result;
}

std::string pluginFor(const Options& options, const SnapshotRecords& records) {
  if (!options.plugin.empty()) return options.plugin;
  const auto plugins = distinct(textsOf(records, &SnapshotRecord::plugin));
  if (plugins.size() == 1) return plugins.front();
  throw Problem{kWrongUse, "the snapshots are of several plug-ins: name one with --plugin"};
}

[[noreturn]] void refuseOther(const SnapshotRecord& record, const std::string& provider) {
  throw Problem{kWrongUse, "snapshot " + record.name + " was taken by provider " + record.provider +
                               ", this plug-in is provider " + provider};
}

SnapshotRecords ofProvider(const Options& options, const SnapshotRecords& records,
                           const std::string& provider) {
  SnapshotRecords own;
  std::copy_if(records.begin(), records.end(), std::back_inserter(own),
               [&](const SnapshotRecord& record) { return record.provider == provider; });
  for (const std::string& name : options.objects) {
    const auto has = [&](const SnapshotRecord& record) { return record.name == name; };
    if (std::none_of(own.begin(), own.end(), has)) {
      const auto other = std::find_if(records.begin(), records.end(), has);
      refuseOther(*other, provider);
    }
  }
  return own;
}

}  // namespace

SnapshotSet::SnapshotSet(const SnapshotRecords& records)
    : sources(textsOf(records, &SnapshotRecord::node)),
      snapshots(textsOf(records, &SnapshotRecord::name)) {}

std::vector<long> askStatus(Caller& caller, const std::string& sessionId, SnapshotSet& set) {
  std::vector<long> statuses;
  const bool good = ops::getStatus(caller, set.sources, set.snapshots, sessionId, statuses);
  return good ? statuses : std::vector<long>();
}

void showStatuses(Report& report, const SnapshotRecords& records,
                  const std::vector<long>& statuses) {
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    const std::string status = statuses[i] == ops::kNoStatus ? "not told" : statusName(statuses[i]);
    report.line("snapshot " + printable(records[i].name) + "  of " + printable(records[i].node) +
                "  " + status);
    report.document()["snapshots"].push_back({{"name", records[i].name},
                                              {"node", records[i].node},
                                              {"session", records[i].session},
                                              {"status", statuses[i]},
                                              {"meaning", status}});
  }
}

SnapshotRecords namedRecords(const StateStore& store, const Options& options) {
  SnapshotRecords all = store.load();
  if (options.objects.empty()) return all;
  SnapshotRecords named;
  for (const std::string& name : options.objects) {
    const std::size_t before = named.size();
    std::copy_if(all.begin(), all.end(), std::back_inserter(named),
                 [&](const SnapshotRecord& record) { return record.name == name; });
    if (named.size() == before) {
      throw Problem{kWrongUse, "snapshot " + name + " is not known in " + options.stateFolder};
    }
  }
  return named;
}

Exit workOnSnapshots(const Options& options, const SnapshotRecords& records, Report& report,
                     const SnapshotWork& work) {
  Plugin plugin(pluginFor(options, records));
  const SnapshotRecords own = ofProvider(options, records, plugin.name());
  Caller caller(plugin);
  OperationWatch watch;
  caller.observe(watch);
  caller.observe(report);
  NodeSet nodes(distinct(textsOf(own, &SnapshotRecord::node)));
  {
    Lifecycle lifecycle(caller, nodes);
    if (lifecycle.init() && lifecycle.initNodes()) {
      work(caller, own);
      if (!report.isFailed()) caller.setDone("what was done before stays done");
    }
  }
  return report.isFailed() ? kRefused : kDone;
}

}  // namespace fihost
