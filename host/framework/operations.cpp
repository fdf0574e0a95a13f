#include "framework/operations.h"

#include <cstdlib>

namespace fihost::ops {

namespace {

constexpr int kConfigSet = 2;
constexpr int kConfigGetParam = 4;

// The document that a request for the snapshot configuration carries, there and back.
class ConfigRequest {
 public:
  explicit ConfigRequest(std::string input = std::string()) : m_input(std::move(input)) {
    if (!m_input.empty()) m_spec.text = m_input.data();
  }
  ~ConfigRequest() {
    if (m_spec.text != m_input.data()) std::free(m_spec.text);
  }
  ConfigRequest(const ConfigRequest&) = delete;
  ConfigRequest& operator=(const ConfigRequest&) = delete;

  bool send(Caller& caller, Op op, int mode, Node& node, const std::string& sessionId,
            std::string& answer) {
    std::string session = sessionId;
    return caller.call(
        op, node.name(), {{"node", node.name()}, {"session", sessionId}, {"text", m_input}},
        [&](auto& provider) {
          return provider.config(node.domain(), mode, session.data(), &m_spec);
        },
        [&](Call& call) {
          if (m_spec.text != nullptr) answer = m_spec.text;
          call.outputs = {{"text", answer}};
        });
  }

 private:
  std::string m_input;
  pyx_confspec m_spec{1, 1, nullptr};
};

std::string joined(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
  return all;
}

// A text that is null when it is empty.
char* orNull(std::string& text) { return text.empty() ? nullptr : text.data(); }

// The nodes as a list of sub-objects.
std::vector<pyx_node_subobj_list> subObjects(NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    pyx_node_subobj_list* const next = i + 1 < nodes.size() ? &list[i + 1] : nullptr;
    list[i] = {nodes[i].domain(), nodes[i].id(), nullptr, next};
  }
  return list;
}

Values ofNode(const Node& node) { return {{"node", node.name()}}; }

Values ofNodes(const NodeSet& nodes) { return {{"nodes", nodes.nameList()}}; }

Values ofSession(const NodeSet& nodes, const std::string& sessionId) {
  return {{"session", sessionId}, {"nodes", nodes.nameList()}};
}

Values ofPairs(const NodeSet& sources, const NodeSet& snapshots, const std::string& sessionId) {
  return {
      {"sources", sources.nameList()}, {"snapshots", snapshots.nameList()}, {"session", sessionId}};
}

}  // namespace

bool init(Caller& caller) {
  return caller.call(Op::Init, "", {}, [](auto& provider) { return provider.init(); });
}

void fini(Caller& caller) {
  caller.call(Op::Fini, "", {}, [](auto& provider) { provider.fini(); });
}

std::optional<int> claim(Caller& caller, Node& node) {
  HandedIds secondaries;
  const bool good = caller.call(
      Op::Claim, node.name(), ofNode(node),
      [&](auto& provider) {
        return provider.claim(node.id(), secondaries.array(), secondaries.count());
      },
      [&](Call& call) {
        call.outputs = {{"secondaries", secondaries.names()}};
      });
  return good ? caller.last().code : std::nullopt;
}

bool initNode(Caller& caller, Node& node) {
  pyx_domain* domain = node.domain();
  const auto count = static_cast<int>(domain->member_count);
  return caller.call(Op::InitNode, node.name(), ofNode(node), [&](auto& provider) {
    return provider.initNode(domain, domain->members, count, nullptr);
  });
}

void deInitNode(Caller& caller, Node& node) {
  caller.call(Op::DeInitNode, node.name(), ofNode(node),
              [&](auto& provider) { provider.deInitNode(node.domain()); });
}

bool configGetParam(Caller& caller, Node& node, const std::string& sessionId,
                    std::string& document) {
  return ConfigRequest().send(caller, Op::ConfigGetParam, kConfigGetParam, node, sessionId,
                              document);
}

bool configSet(Caller& caller, Node& node, const std::string& sessionId, const std::string& values,
               std::string& completed) {
  return ConfigRequest(values).send(caller, Op::ConfigSet, kConfigSet, node, sessionId, completed);
}

bool reAccessTmpObj(Caller& caller, Node& snapshot, Node& source, const std::string& sessionId) {
  std::string session = sessionId;
  std::string splitType = caller.plugin().provider().getFimName();
  return caller.call(
      Op::ReAccessTmpObj, snapshot.name(),
      {{"snapshot", snapshot.name()}, {"source", source.name()}, {"session", sessionId}},
      [&](auto& provider) {
        return provider.reAccessTmpObj(snapshot.domain(), snapshot.id(), splitType.data(),
                                       source.domain(), session.data(), PYX_INTENT_NONE);
      });
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

bool getProviderState(Caller& caller, Node& node, std::string& state) {
  HandedBlob blob;
  return caller.call(
      Op::ProcessProviderState, node.name(), ofNode(node),
      [&](auto& provider) {
        return provider.processProviderState(node.domain(), blob.record(), PYX_OPSTATE_GET);
      },
      [&](Call& call) {
        state = blob.bytes();
        call.outputs = {{"state", state}};
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

bool interpose(Caller& caller, Node& node, Interposed& answer) {
  HandedId own;
  HandedIds groups;
  const bool good = caller.call(
      Op::Interpose, node.name(), ofNode(node),
      [&](auto& provider) {
        return provider.interpose(node.domain(), own.address(), groups.array(), groups.count());
      },
      [&](Call& call) {
        answer = {own.isThere(), own.name(), groups.names()};
        call.outputs = {{"interposed", answer.name}, {"groups", answer.groups}};
      });
  if (good && caller.last().code == 0) answer.isThere = false;
  return good;
}

bool importResource(Caller& caller, const std::string& resource, const std::string& host, int flags,
                    std::string& path) {
  std::string name = resource;
  std::string hostName = host;
  HandedText imported;
  return caller.call(
      Op::ImportResource, resource, {{"resource", resource}, {"host", host}, {"flags", flags}},
      [&](auto& provider) {
        return provider.importResource(nullptr, name.data(), orNull(hostName), nullptr, flags,
                                       imported.address(), nullptr);
      },
      [&](Call& call) {
        path = imported.text();
        call.outputs = {{"path", path}};
        if (!path.empty()) call.known = "handed out: " + path;
      });
}

bool deportResource(Caller& caller, const std::string& resource, const std::string& host,
                    int flags) {
  std::string name = resource;
  std::string hostName = host;
  return caller.call(
      Op::DeportResource, resource, {{"resource", resource}, {"host", host}, {"flags", flags}},
      [&](auto& provider) {
        return provider.deportResource(name.data(), orNull(hostName), nullptr, nullptr, flags);
      });
}

bool enableAccess(Caller& caller, NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list = subObjects(nodes);
  return caller.call(Op::EnableAccess, nodes.names(), ofNodes(nodes), [&](auto& provider) {
    return provider.enableAccess(list.data(), nodes.count(), 0, 0);
  });
}

bool disableAccess(Caller& caller, NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list = subObjects(nodes);
  return caller.call(Op::DisableAccess, nodes.names(), ofNodes(nodes), [&](auto& provider) {
    return provider.disableAccess(list.data(), nodes.count());
  });
}

std::string catalogText(Caller& caller, const std::string& messageId) {
  const auto& catalogs = caller.plugin().provider().catalogManager();
  if (messageId.empty() || !catalogs) return messageId;
  std::string sentence = messageId;
  caller.call(
      Op::CatalogMessage, "", {{"message", messageId}, {"locale", "native"}},
      [&](auto&) {
        char* text = nullptr;
        catalogs->getLocalizedMessage(messageId.c_str(), "native", &text);
        if (text == nullptr) return;
        sentence = text;
        catalogs->deleteLocalizedMessage(&text);
      },
      [&](Call& call) {
        call.outputs = {{"text", sentence}};
      });
  return sentence;
}

}  // namespace fihost::ops
