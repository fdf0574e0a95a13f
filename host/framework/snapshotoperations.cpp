#include "framework/operationarguments.h"
#include "framework/operations.h"

namespace fihost::ops {

namespace {

std::string joined(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
  return all;
}

}  // namespace

bool quiesce(Caller& caller, NodeSet& nodes, const std::string& sessionId) {
  std::string session = sessionId;
  return caller.call(Op::Quiesce, nodes.names(), ofSession(nodes, sessionId), [&](auto& provider) {
    return provider.quiesce(nodes.quiesceNodes(), nodes.count(), session.data());
  });
}

void unquiesce(Caller& caller, NodeSet& nodes) {
  caller.call(Op::Unquiesce, nodes.names(), ofNodes(nodes),
              [&](auto& provider) { provider.unquiesce(nodes.quiesceNodes(), nodes.count()); });
}

bool prePrepare(Caller& caller, Node& node) {
  return caller.call(Op::PrePrepare, node.name(), ofNode(node),
                     [&](auto& provider) { return provider.prePrepare(node.domain()); });
}

bool prepare(Caller& caller, NodeSet& nodes, const std::string& sessionId) {
  std::string session = sessionId;
  return caller.call(Op::Prepare, nodes.names(), ofSession(nodes, sessionId), [&](auto& provider) {
    return provider.prepare(session.data(), nodes.splitNodes(), nodes.count(), 0);
  });
}

bool make(Caller& caller, NodeSet& nodes, const std::string& sessionId,
          std::vector<std::string>& snapshots) {
  std::string session = sessionId;
  HandedIds ids;
  return caller.call(
      Op::Make, nodes.names(), ofSession(nodes, sessionId),
      [&](auto& provider) {
        return provider.make(session.data(), nodes.splitNodes(), nodes.count(), ids.array(),
                             ids.count());
      },
      [&](Call& call) {
        snapshots = ids.names();
        call.outputs = {{"snapshots", snapshots}};
        call.known =
            snapshots.empty() ? "no snapshot was handed out" : "handed out: " + joined(snapshots);
      });
}

bool getStatus(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
               std::vector<long>& statuses) {
  std::string session = sessionId;
  statuses.assign(snapshots.size(), kNoStatus);
  return caller.call(
      Op::GetStatus, sources.names(), ofPairs(sources, snapshots, sessionId),
      [&](auto& provider) {
        return provider.getStatus(sources.ids(), snapshots.ids(), snapshots.count(), session.data(),
                                  0, statuses.data());
      },
      [&](Call& call) {
        call.outputs = {{"statuses", statuses}};
      });
}

bool restore(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
             std::vector<long>& statuses) {
  std::string session = sessionId;
  std::string splitType = caller.plugin().provider().getFimName();
  HandedTexts names;
  statuses.assign(snapshots.size(), kNoStatus);
  return caller.call(
      Op::Restore, sources.names(), ofPairs(sources, snapshots, sessionId),
      [&](auto& provider) {
        return provider.restore(sources.ids(), snapshots.ids(), snapshots.count(), session.data(),
                                splitType.data(), names.array(), names.count(), 0, statuses.data());
      },
      [&](Call& call) {
        call.outputs = {{"names", names.texts()}, {"statuses", statuses}};
      });
}

bool dispose(Caller& caller, Node& source, Node& snapshot) {
  pyx_splitnode node{source.domain(), snapshot.domain()};
  return caller.call(
      Op::Dispose, source.name(), {{"source", source.name()}, {"snapshot", snapshot.name()}},
      [&](auto& provider) {
        return provider.dispose(source.domain(), snapshot.domain(), &node, PYX_DISPOSITION_NONE);
      });
}

}  // namespace fihost::ops
