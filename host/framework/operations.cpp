#include "framework/operations.h"

#include <cstdlib>

#include "framework/operationarguments.h"

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
