#include "verbs/taking.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <set>
#include <thread>

#include "cli/heldsignals.h"
#include "framework/operations.h"
#include "verbs/snapshotset.h"

namespace fihost {

namespace {

constexpr int kSecondsUntilReady = 60;

std::string utcNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts));
}

std::string joined(const SnapshotRecords& records) {
  std::string names;
  for (const SnapshotRecord& record : records) names += (names.empty() ? "" : ", ") + record.name;
  return names;
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

const std::string& ownSessionId() {
  static const std::string id = [] {
    std::string time = utcNow();
    std::erase(time, '-');
    std::erase(time, ':');
    return "fihost-" + time + "-" + std::to_string(getpid());
  }();
  return id;
}

std::string newSessionId(StateStore& store) {
  return ownSessionId() + "-" + std::to_string(store.nextSession());
}

bool Taking::askForType() {
  const std::string type = m_caller.plugin().provider().getFimName();
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    if (!ops::supportsFiType(m_caller, m_nodes[i], type)) return false;
  }
  return true;
}

bool Taking::configure(const orca_pdk::CFiConfigParamDataList& values, bool force) {
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    std::string document;
    std::string completed;
    Descriptions descriptions;
    if (!ops::configGetParam(m_caller, m_nodes[i], m_sessionId, document) ||
        !readDescriptions(m_caller, document, descriptions)) {
      return false;
    }
    for (const std::string& sentence : misfits(values, descriptions)) {
      if (!force) throw Problem{kWrongUse, sentence + " (--force sends it all the same)"};
      m_report.warning("node " + m_nodes[i].name() + ": " + sentence);
    }
    if (!ops::configSet(m_caller, m_nodes[i], m_sessionId, values.getXML().c_str(), completed)) {
      return false;
    }
    m_values.push_back(completed);
  }
  return true;
}

bool Taking::take() {
  bool good = false;
  if (!ops::select(m_caller, m_nodes, m_sessionId)) return false;
  intend();
  {
    const HeldSignals held;
    good = makeQuiesced();
    settle();
    if (m_records.empty()) return false;
    if (fetchProviderStates()) m_store.add(m_records);
  }
  if (good && untilReady()) tellStatus();
  return true;
}

bool Taking::makeQuiesced() {
  const Quiesced quiesced(m_caller, m_nodes, m_sessionId);
  return quiesced.isGood() && prePrepare() && ops::prepare(m_caller, m_nodes, m_sessionId) &&
         !isInterrupted() && make();
}

void Taking::intend() {
  SnapshotRecords intents;
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    intents.push_back({"", m_nodes[i].name(), m_sessionId, m_caller.plugin().name(),
                       m_caller.plugin().path(), utcNow(), m_values[i], ""});
  }
  m_store.intend(intents);
}

bool Taking::isInterrupted() {
  if (!HeldSignals::isPending()) return false;
  m_report.error(kRefused, "interrupted before make; no snapshot was taken");
  return true;
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
  const bool isWhole = keep(names) && m_records.size() == m_nodes.size();
  if (good && !isWhole) {
    m_caller.refuse("a snapshot with a name of its own was handed out for " +
                    std::to_string(m_records.size()) + " of " + std::to_string(m_nodes.size()) +
                    " nodes");
  }
  m_caller.setDone(m_caller.last().known);
  return good && isWhole;
}

bool Taking::keep(const std::vector<std::string>& names) {
  const std::string taken = utcNow();
  const std::vector<std::string> sources = m_nodes.nameList();
  std::set<std::string> seen(sources.begin(), sources.end());
  seen.insert("");
  for (std::size_t i = 0; i < std::min(names.size(), m_nodes.size()); ++i) {
    if (!seen.insert(names[i]).second) continue;
    m_records.push_back({names[i], m_nodes[i].name(), m_sessionId, m_caller.plugin().name(),
                         m_caller.plugin().path(), taken, m_values[i], ""});
    m_recordNodes.push_back(i);
  }
  return names.size() == m_nodes.size();
}

// A default says nothing of readiness. What is not ready when the host is to end is told by its
// status.
bool Taking::untilReady() {
  using namespace std::chrono_literals;
  const auto seconds = std::chrono::seconds(m_timeout > 0 ? m_timeout : kSecondsUntilReady);
  const auto end = std::chrono::steady_clock::now() + seconds;
  std::vector<long> ready;
  for (auto pause = 10ms; ops::isReady(m_caller, m_nodes, m_sessionId, ready);
       pause = std::min<std::chrono::milliseconds>(2 * pause, 1s)) {
    const bool isWhole = std::count(ready.begin(), ready.end(), 0) == 0;
    if (isWhole || m_caller.last().isDefault || HeldSignals::isPending()) return true;
    if (std::chrono::steady_clock::now() + pause > end) {
      return m_caller.refuse("not ready within " + std::to_string(seconds.count()) + " seconds");
    }
    std::this_thread::sleep_for(pause);
  }
  return false;
}

bool Taking::fetchProviderStates() {
  bool isThere = false;
  for (std::size_t i = 0; i < m_records.size(); ++i) {
    std::string state;
    if (!ops::getProviderState(m_caller, m_nodes[m_recordNodes[i]], state)) continue;
    isThere = isThere || !state.empty();
    m_records[i].providerState = state;
  }
  return isThere;
}

void Taking::settle() {
  try {
    m_store.settle(m_sessionId, m_records);
  } catch (Problem& problem) {
    if (!m_records.empty()) {
      problem.text += "; taken, but not in the list: " + joined(m_records) +
                      " (\"adopt\" adds them to it, session " + m_sessionId + ")";
    }
    throw;
  }
  if (!m_records.empty()) m_caller.setDone("in the list: " + joined(m_records));
}

void Taking::tellStatus() {
  SnapshotSet set(m_records);
  const std::vector<long> statuses = askStatus(m_caller, m_sessionId, set);
  tellStatuses(m_caller, m_report, m_records, statuses);
}

}  // namespace fihost
