#include "framework/operationarguments.h"
#include "framework/operations.h"

namespace fihost::ops {

namespace {

std::string joined(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
  return all;
}

Values ofSplitSession(SplitSession& session) { return ofSession(session.nodes(), session.id()); }

// The hosts as a list of records; valid as long as the texts.
std::vector<pyx_host_infn> hostRecords(TextArray& hosts) {
  std::vector<pyx_host_infn> records(static_cast<std::size_t>(hosts.count()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    records[i] = {hosts.array()[i], i + 1 < records.size() ? &records[i + 1] : nullptr};
  }
  return records;
}

}  // namespace

bool verifyQSCombos(Caller& caller, NodeSet& nodes) {
  return caller.call(Op::VerifyQSCombos, nodes.names(), ofNodes(nodes), [&](auto& provider) {
    return provider.verifyQSCombos(nodes.splitNodes(), nodes.count());
  });
}

bool setImportOptions(Caller& caller, NodeSet& nodes, const std::vector<std::string>& hosts,
                      bool transportable) {
  TextArray names(hosts);
  std::vector<pyx_host_infn> records = hostRecords(names);
  return caller.call(
      Op::SetImportOptions, nodes.names(),
      with(ofNodes(nodes), {{"hosts", hosts}, {"transportable", transportable ? 1 : 0}}),
      [&](auto& provider) {
        return provider.setImportOptions(nodes.splitNodes(), nodes.count(),
                                         records.empty() ? nullptr : records.data(),
                                         transportable ? 1 : 0, nullptr);
      });
}

bool preselect(Caller& caller, Node& node, NodeSet& nodes, const std::string& sessionId) {
  std::string session = sessionId;
  return caller.call(Op::Preselect, node.name(), with(ofNode(node), ofSession(nodes, sessionId)),
                     [&](auto& provider) {
                       return provider.preselect(node.splitNode(), session.data(),
                                                 nodes.splitNodes(), nodes.count());
                     });
}

bool select(Caller& caller, NodeSet& nodes, const std::string& sessionId) {
  std::string session = sessionId;
  return caller.call(Op::Select, nodes.names(), ofSession(nodes, sessionId), [&](auto& provider) {
    return provider.select(session.data(), nodes.splitNodes(), nodes.count());
  });
}

bool selectSnapshots(Caller& caller, SplitSession& session) {
  return caller.call(Op::SelectSnapshots, session.nodes().names(), ofSplitSession(session),
                     [&](auto& provider) { return provider.selectSnapshots(session.pointer()); });
}

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

bool prepareSnapshots(Caller& caller, SplitSession& session) {
  return caller.call(Op::PrepareSnapshots, session.nodes().names(), ofSplitSession(session),
                     [&](auto& provider) { return provider.prepareSnapshots(session.pointer()); });
}

bool make(Caller& caller, NodeSet& nodes, const std::string& sessionId,
          std::vector<std::string>& snapshots) {
  std::string session = sessionId;
  HandedIds ids("snapshots");
  int count = 0;
  return caller.call(
      Op::Make, nodes.names(), ofSession(nodes, sessionId),
      [&](auto& provider) {
        return provider.make(session.data(), nodes.splitNodes(), nodes.count(), ids.array(),
                             &count);
      },
      [&](Call& call) {
        *ids.count() = count;
        snapshots = ids.texts();
        call.outputs = {{"snapshots", snapshots}};
        call.known =
            snapshots.empty() ? "no snapshot was handed out" : "handed out: " + joined(snapshots);
        if (count > nodes.count()) {
          call.refuse("it says that it handed out " + std::to_string(count) + " snapshots of " +
                      std::to_string(nodes.count()) + " nodes");
        }
        call.refuse(ids.problem());
      });
}

bool makeSnapshots(Caller& caller, SplitSession& session) {
  return caller.call(Op::MakeSnapshots, session.nodes().names(), ofSplitSession(session),
                     [&](auto& provider) { return provider.makeSnapshots(session.pointer()); });
}

bool isReady(Caller& caller, NodeSet& nodes, const std::string& sessionId,
             std::vector<long>& ready) {
  std::string session = sessionId;
  ready.clear();
  return caller.call(
      Op::IsReady, nodes.names(), ofSession(nodes, sessionId),
      [&](auto& provider) {
        return provider.isReady(session.data(), nodes.splitNodes(), nodes.count());
      },
      [&](Call& call) {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
          ready.push_back((nodes[i].domain()->flags & orca_pdk::FI_NODE_READY) != 0 ? 1 : 0);
        }
        call.outputs = {{"ready", ready}};
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
  HandedTexts names("names");
  statuses.assign(snapshots.size(), kNoStatus);
  return caller.call(
      Op::Restore, sources.names(), ofPairs(sources, snapshots, sessionId),
      [&](auto& provider) {
        return provider.restore(sources.ids(), snapshots.ids(), snapshots.count(), session.data(),
                                splitType.data(), names.array(), names.count(), 0, statuses.data());
      },
      [&](Call& call) {
        call.outputs = {{"names", names.texts()}, {"statuses", statuses}};
        call.refuse(names.problem());
      });
}

bool resync(Caller& caller, NodeSet& sources, NodeSet& snapshots, const std::string& sessionId,
            std::vector<long>& statuses) {
  std::string session = sessionId;
  std::string splitType = caller.plugin().provider().getFimName();
  statuses.assign(snapshots.size(), kNoStatus);
  return caller.call(
      Op::Resync, sources.names(), ofPairs(sources, snapshots, sessionId),
      [&](auto& provider) {
        return provider.resync(sources.ids(), snapshots.ids(), snapshots.count(), session.data(),
                               splitType.data(), 0, statuses.data());
      },
      [&](Call& call) {
        call.outputs = {{"statuses", statuses}};
      });
}

bool dispose(Caller& caller, Node& source, Node& snapshot) {
  pyx_splitnode node{source.domain(), snapshot.domain()};
  return caller.call(Op::Dispose, source.name(), ofSnapshot(source, snapshot), [&](auto& provider) {
    return provider.dispose(source.domain(), snapshot.domain(), &node, PYX_DISPOSITION_NONE);
  });
}
bool online(Caller& caller, Node& source, Node& snapshot, int flags) {
  return caller.call(Op::Online, snapshot.name(),
                     with(ofSnapshot(source, snapshot), {{"flags", flags}}), [&](auto& provider) {
                       return provider.online(source.domain(), snapshot.domain(), flags,
                                              PYX_DISPOSITION_NONE);
                     });
}

bool getAttr(Caller& caller, Node& source, Node& snapshot) {
  pyx_splitnode node{source.domain(), snapshot.domain()};
  return caller.call(Op::GetAttr, snapshot.name(), ofSnapshot(source, snapshot),
                     [&](auto& provider) {
                       return provider.getAttr(source.domain(), snapshot.domain(), &node, nullptr);
                     });
}

bool getSnapshotSetId(Caller& caller, Node& node, std::string& id) {
  HandedText text;
  return caller.call(
      Op::GetSnapshotSetId, node.name(), ofNode(node),
      [&](auto& provider) { return provider.getSnapshotSetId(node.domain(), text.address()); },
      [&](Call& call) {
        id = text.text();
        call.outputs = {{"id", id}};
      });
}

bool createSnapReplicaNode(Caller& caller, Node& node) {
  return caller.call(Op::CreateSnapReplicaNode, node.name(), ofNode(node), [&](auto& provider) {
    return provider.createSnapReplicaNode(node.domain(), nullptr);
  });
}

bool updateSnapshotId(Caller& caller, Node& source, Node& snapshot, int flags) {
  return caller.call(Op::UpdateSnapshotId, snapshot.name(),
                     with(ofSnapshot(source, snapshot), {{"flags", flags}}), [&](auto& provider) {
                       return provider.updateSnapshotId(source.domain(), snapshot.domain(), nullptr,
                                                        flags);
                     });
}

bool updateSnapshotHandle(Caller& caller, SplitSession& session) {
  return caller.call(
      Op::UpdateSnapshotHandle, session.nodes().names(), ofSplitSession(session),
      [&](auto& provider) { return provider.updateSnapshotHandle(session.pointer(), nullptr); });
}

bool getSnapdiff(Caller& caller, Node& node) {
  return caller.call(Op::GetSnapdiff, node.name(), ofNode(node), [&](auto& provider) {
    return provider.getSnapdiff(node.domain(), nullptr, nullptr, nullptr);
  });
}

}  // namespace fihost::ops
