#ifndef FIHOST_VERBS_TAKING_H
#define FIHOST_VERBS_TAKING_H

#include <string>
#include <vector>

#include "cli/report.h"
#include "framework/caller.h"
#include "framework/parameters.h"
#include "framework/records.h"
#include "state/statestore.h"

namespace fihost {

// The taking of one session's snapshots, step by step, from nodes that are set up.
class Taking {
 public:
  // `timeout`: seconds within which the snapshots must be ready; 0: a minute.
  Taking(Caller& caller, Report& report, NodeSet& nodes, StateStore& store,
         const std::string& sessionId, int timeout)
      : m_caller(caller),
        m_report(report),
        m_nodes(nodes),
        m_store(store),
        m_sessionId(sessionId),
        m_timeout(timeout) {}

  // Asks whether the nodes' snapshots can be of the provider's type; what it answers stands in the
  // report. False when it cannot be asked.
  bool askForType();

  // Configures every node. Throws a Problem for a value that does not fit the node's descriptions;
  // with `force` it is sent all the same, with a warning.
  bool configure(const orca_pdk::CFiConfigParamDataList& values, bool force);

  // Takes the snapshots and keeps those that the provider handed out, whatever came after them; the
  // intent stands in the state meanwhile. False when there are none. Throws a Problem when that
  // cannot be written.
  bool take();

 private:
  void intend();
  bool makeQuiesced();
  bool isInterrupted();
  bool prePrepare();
  bool make();
  bool keep(const std::vector<std::string>& names);
  bool untilReady();
  bool fetchProviderStates();
  void settle();
  void tellStatus();

  Caller& m_caller;
  Report& m_report;
  NodeSet& m_nodes;
  StateStore& m_store;
  std::string m_sessionId;
  int m_timeout;
  std::vector<std::string> m_values;
  SnapshotRecords m_records;
  std::vector<std::size_t> m_recordNodes;  // of each record, the node's place
};

// The id of the session of this run: no other of this machine has it, and it is fit for a file
// name.
const std::string& ownSessionId();

// The same with a number behind it, so that no other session that the store knows has it either.
std::string newSessionId(StateStore& store);

}  // namespace fihost

#endif
