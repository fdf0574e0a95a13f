#include "verbs/taking.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>

#include "cli/heldsignals.h"
#include "framework/operations.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

constexpr long kAbsent = 0;
constexpr long kFailed = 1;

std::string utcNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts));
}

// Holds writers off for its scope; they go on at its end also when quiesce failed half-way.
class Quiesced {
 public:
  Quiesced(Caller& caller, NodeSet& nodes, const std::string& sessionId)
      : m_caller(caller), m_nodes(nodes) {
    m_good = ops::quiesce(caller, nodes, sessionId);
  }
  ~Quiesced() { ops::unquiesce(m_caller, m_nodes); }
  Quiesced(const Quiesced&) = delete;
  Quiesced& operator=(const Quiesced&) = delete;

  bool isGood() const { return m_good; }

 private:
  Caller& m_caller;
  NodeSet& m_nodes;
  bool m_good = false;
};

}  // namespace

std::string newSessionId() {
  std::string id = utcNow();
  std::erase(id, '-');
  std::erase(id, ':');
  return "fihost-" + id + "-" + std::to_string(getpid());
}

bool Taking::configure(const orca_pdk::CFiConfigParamDataList& values) {
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    std::string document;
    std::string completed;
    Descriptions descriptions;
    if (!ops::configGetParam(m_caller, m_nodes[i], m_sessionId, document) ||
        !readDescriptions(m_caller, document, descriptions)) {
      return false;
    }
    warnOfUnknown(values, descriptions);
    if (!ops::configSet(m_caller, m_nodes[i], m_sessionId, values.getXML().c_str(), completed)) {
      return false;
    }
    m_values.push_back(completed);
  }
  return true;
}

void Taking::take() {
  bool good = false;
  {
    const Quiesced quiesced(m_caller, m_nodes, m_sessionId);
    good = quiesced.isGood() && prePrepare() && ops::prepare(m_caller, m_nodes, m_sessionId) &&
           !isInterrupted() && make();
  }
  if (m_records.empty()) return;
  fetchProviderStates();
  remember();
  if (good) tellStatus();
}

bool Taking::isInterrupted() {
  if (!HeldSignals::isPending()) return false;
  m_report.error(kRefused, "interrupted before make; no snapshot was taken");
  return true;
}

void Taking::warnOfUnknown(const orca_pdk::CFiConfigParamDataList& values,
                           const Descriptions& descriptions) {
  for (const auto& entry : values.params) {
    if (descriptions.count(entry.first) != 0 || m_warned) continue;
    m_report.warning("provider " + m_caller.plugin().name() + " describes no parameter " +
                     entry.first);
  }
  m_warned = true;
}

bool Taking::prePrepare() {
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    if (!ops::prePrepare(m_caller, m_nodes[i])) return false;
  }
  return true;
}

bool Taking::make() {
  std::vector<std::string> names;
  const bool good = ops::make(m_caller, m_nodes, m_sessionId, names);
  keep(names);
  m_caller.setDone(m_records.empty() ? "no snapshot was handed out"
                                     : "snapshots were taken and stand in the list");
  if (good && m_records.size() != m_nodes.size()) {
    return m_caller.refuse("a named snapshot was handed out for " +
                           std::to_string(m_records.size()) + " of " +
                           std::to_string(m_nodes.size()) + " nodes");
  }
  return good;
}

void Taking::keep(const std::vector<std::string>& names) {
  const std::string taken = utcNow();
  for (std::size_t i = 0; i < std::min(names.size(), m_nodes.size()); ++i) {
    if (names[i].empty()) continue;
    m_records.push_back({names[i], m_nodes[i].name(), m_sessionId, m_caller.plugin().name(),
                         m_caller.plugin().path(), taken, m_values[i], ""});
    m_recordNodes.push_back(i);
  }
}

void Taking::fetchProviderStates() {
  for (std::size_t i = 0; i < m_records.size(); ++i) {
    std::string state;
    if (ops::getProviderState(m_caller, m_nodes[m_recordNodes[i]], state)) {
      m_records[i].providerState = state;
    }
  }
}

void Taking::remember() {
  try {
    m_store.update([&](SnapshotRecords& records) {
      for (const SnapshotRecord& record : m_records) {
        forget(records, record);
        records.push_back(record);
      }
    });
  } catch (Problem& problem) {
    problem.text += "; taken, but not in the list:";
    for (const SnapshotRecord& record : m_records) problem.text += " " + record.name;
    throw;
  }
}

void Taking::tellStatus() {
  SnapshotSet set(m_records);
  const std::vector<long> statuses = askStatus(m_caller, m_sessionId, set);
  tellStatuses(m_report, m_records, statuses);
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    if (statuses[i] != kAbsent && statuses[i] != kFailed) continue;
    m_caller.refuse("snapshot " + m_records[i].name + " is " + statusName(statuses[i]));
  }
}

}  // namespace fihost
