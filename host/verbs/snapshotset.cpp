#include "verbs/snapshotset.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "cli/exitstatus.h"
#include "cli/names.h"
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

std::string pluginFor(const WantedSnapshots& wanted, const SnapshotRecords& records) {
  if (!wanted.plugin.empty()) return wanted.plugin;
  const auto plugins = distinct(textsOf(records, &SnapshotRecord::plugin));
  if (plugins.size() == 1) return plugins.front();
  throw Problem{kWrongUse, "the snapshots are of several plug-ins: name one with --plugin"};
}

[[noreturn]] void refuseOther(const SnapshotRecord& record, const std::string& provider) {
  throw Problem{kWrongUse, "snapshot " + record.name + " was taken by provider " + record.provider +
                               ", this plug-in is provider " + provider};
}

SnapshotRecords ofProvider(const WantedSnapshots& wanted, const SnapshotRecords& records,
                           const std::string& provider) {
  SnapshotRecords own;
  std::copy_if(records.begin(), records.end(), std::back_inserter(own),
               [&](const SnapshotRecord& record) { return record.provider == provider; });
  for (const std::string& name : wanted.names) {
    const auto has = [&](const SnapshotRecord& record) { return record.name == name; };
    if (std::none_of(own.begin(), own.end(), has)) {
      const auto other = std::find_if(records.begin(), records.end(), has);
      refuseOther(*other, provider);
    }
  }
  return own;
}

// A path that does not say from which folder on would lead to another file here.
void refuseRelativePaths(const SnapshotRecords& records) {
  for (const SnapshotRecord& record : records) {
    if (record.node.starts_with('/') || !isExistingPath(record.node)) continue;
    throw Problem{kWrongUse, "snapshot " + record.name + " was taken of \"" + record.node +
                                 "\" in a folder that is not known; here that is another file"};
  }
}

// Sends each node the values that its last snapshot was taken with. What the provider refuses now
// is reported and stops nothing: a snapshot must not be lost over it.
void giveValuesBack(ProviderRun& run, const SnapshotRecords& records) {
  std::map<std::string, const SnapshotRecord*> last;
  for (const SnapshotRecord& record : records) last[record.node] = &record;
  NodeSet& nodes = run.lifecycle.nodes();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const SnapshotRecord& record = *last.at(nodes[i].name());
    std::string completed;
    if (record.values.empty()) continue;
    ops::configSet(run.caller, nodes[i], record.session, record.values, completed);
  }
}

}  // namespace

SnapshotSet::SnapshotSet(const SnapshotRecords& records)
    : sources(textsOf(records, &SnapshotRecord::node)),
      snapshots(textsOf(records, &SnapshotRecord::name)) {}

KnownSnapshots::KnownSnapshots(Caller& caller, const SnapshotRecords& records)
    : m_caller(caller), m_set(records) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    ops::reAccessTmpObj(caller, m_set.snapshots[i], m_set.sources[i], records[i].session);
  }
}

KnownSnapshots::~KnownSnapshots() {
  for (std::size_t i = 0; i < m_set.snapshots.size(); ++i) {
    ops::deInitNode(m_caller, m_set.snapshots[i]);
  }
}

std::vector<long> askStatus(Caller& caller, const std::string& sessionId, SnapshotSet& set) {
  std::vector<long> statuses;
  const bool good = ops::getStatus(caller, set.sources, set.snapshots, sessionId, statuses);
  return good ? statuses : std::vector<long>();
}

bool areGood(Caller& caller, const SnapshotRecords& records, const std::vector<long>& statuses) {
  const Op op = caller.last().operation->id;
  bool good = true;
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    if (isGoodStatus(op, statuses[i])) continue;
    good = caller.refuse("snapshot " + records[i].name + " of " + records[i].node + ": " +
                         statusName(op, statuses[i]));
  }
  return good;
}

void tellStatuses(Caller& caller, Report& report, const SnapshotRecords& records,
                  const std::vector<long>& statuses) {
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    report.answer()["snapshots"].push_back({{"name", records[i].name},
                                            {"node", records[i].node},
                                            {"session", records[i].session},
                                            {"status", statuses[i]},
                                            {"meaning", statusName(Op::GetStatus, statuses[i])}});
  }
  areGood(caller, records, statuses);
}

std::string statusText(const Json& answer) {
  std::string text;
  for (const Json& row : rowsOf(answer, "snapshots")) {
    text += "snapshot " + printable(row["name"]) + "  of " + printable(row["node"]) + "  " +
            std::string(row["meaning"]) + "\n";
  }
  return text;
}

void declareLeft(VerbOptions& options, WantedSnapshots& wanted) {
  options.text("--session", "Session that was killed and left the snapshot", wanted.session);
  options.text("--node", "The node it was taken of, where the session had several", wanted.node);
}

SnapshotRecords leftIntents(StateStore& store, const WantedSnapshots& wanted) {
  const std::string node = absoluteName(wanted.node);
  SnapshotRecords intents = store.unsettled();
  std::erase_if(intents, [&](const SnapshotRecord& intent) {
    return intent.session != wanted.session || (!node.empty() && intent.node != node);
  });
  if (!intents.empty()) return intents;
  throw Problem{kWrongUse, "session " + wanted.session + (node.empty() ? "" : ", node " + node) +
                               ": nothing that a killed session left is known of it"};
}

SnapshotRecord leftRecord(StateStore& store, WantedSnapshots& wanted) {
  SnapshotRecords intents = leftIntents(store, wanted);
  if (intents.size() > 1) {
    throw Problem{kWrongUse, "session " + wanted.session + " had several nodes: name one, --node"};
  }
  std::string& name = wanted.names.front();
  name = absoluteName(name);
  for (const SnapshotRecord& known : store.named(name)) {
    if (known.provider != intents.front().provider) continue;
    throw Problem{kWrongUse, "snapshot " + name + " is in the list, of session " + known.session};
  }
  intents.front().name = name;
  return intents.front();
}

SnapshotRecords wantedRecords(StateStore& store, WantedSnapshots& wanted) {
  if (!wanted.session.empty()) return {leftRecord(store, wanted)};
  if (wanted.names.empty()) return store.all();
  SnapshotRecords all;
  std::set<std::string> seen;
  for (std::string& name : wanted.names) {
    SnapshotRecords named = store.named(name);
    if (named.empty()) named = store.named(name = absoluteName(name));
    if (named.empty()) {
      throw Problem{kWrongUse, "snapshot " + name + " is not known in " + store.folder()};
    }
    if (!seen.insert(name).second) throw Problem{kWrongUse, "\"" + name + "\" given twice"};
    all.insert(all.end(), named.begin(), named.end());
  }
  return all;
}

void workOnSnapshots(Context& context, const WantedSnapshots& wanted,
                     const SnapshotRecords& records, const SnapshotWork& work) {
  withProvider(context, pluginFor(wanted, records), [&](ProviderRun& run) {
    const SnapshotRecords own = ofProvider(wanted, records, run.plugin.name());
    refuseRelativePaths(own);
    if (run.lifecycle.init() && setUpNodes(run, own)) work(run, own);
  });
}

bool setUpNodes(ProviderRun& run, const SnapshotRecords& records) {
  if (!run.lifecycle.beginNodes(distinct(textsOf(records, &SnapshotRecord::node)))) return false;
  giveValuesBack(run, records);
  return true;
}

std::map<std::string, SnapshotRecords> bySession(const SnapshotRecords& records) {
  std::map<std::string, SnapshotRecords> sessions;
  for (const SnapshotRecord& record : records) sessions[record.session].push_back(record);
  return sessions;
}

}  // namespace fihost
