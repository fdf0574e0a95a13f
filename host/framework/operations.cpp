#include "framework/operations.h"

#include <cstdlib>

#include "framework/operationarguments.h"

namespace fihost::ops {

namespace {

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

bool delayedInit(Caller& caller) {
  return caller.call(Op::DelayedInit, "", {},
                     [](auto& provider) { return provider.delayedInit(); });
}

bool init(Caller& caller) {
  return caller.call(Op::Init, "", {}, [](auto& provider) { return provider.init(); });
}

void fini(Caller& caller) {
  caller.call(Op::Fini, "", {}, [](auto& provider) { provider.fini(); });
}

bool globalConfigInfoList(Caller& caller, int index, bool second, std::string& document) {
  orca_pdk::CFiConfigParamInfoList* list = nullptr;
  const bool good = caller.call(
      Op::GlobalConfigInfoList, "", {{"index", index}, {"second", second ? 1 : 0}},
      [&](auto& provider) { list = provider.globalConfigInfoList(index, second); },
      [&](Call& call) {
        if (list == nullptr) return;
        document = list->getXML().c_str();
        call.outputs = {{"document", document}};
      });
  return good && (list != nullptr || caller.refuse("there is no list"));
}

bool objctl(Caller& caller, const std::string& request, const std::vector<std::string>& arguments,
            std::string& answer) {
  orca_pdk::CFiObjctlArgs args;
  args.arguments = arguments;
  return caller.call(
      Op::Objctl, "", {{"request", request}, {"arguments", arguments}},
      [&](auto& provider) { return provider.objctl(orca_pdk::tstr(request.c_str()), args); },
      [&](Call& call) {
        answer = args.answer;
        call.outputs = {{"answer", answer}};
      });
}

bool errMsg(Caller& caller, int code, std::string& text) {
  const char* message = nullptr;
  const bool good = caller.call(
      Op::ErrMsg, "", {{"code", code}},
      [&](auto& provider) { return provider.errMsg(code, &message); },
      [&](Call& call) {
        if (message != nullptr) text = message;
        call.outputs = {{"text", text}};
      });
  char* given = const_cast<char*>(message);
  if (message == nullptr) return good;
  caller.call(Op::DelLocaleMessage, "", {},
              [&](auto& provider) { return provider.delLocaleMessage(&given); });
  return good;
}

std::optional<int> claim(Caller& caller, Node& node) {
  HandedIds secondaries("secondary nodes");
  int count = 0;
  const bool good = caller.call(
      Op::Claim, node.name(), ofNode(node),
      [&](auto& provider) { return provider.claim(node.id(), secondaries.array(), &count); },
      [&](Call& call) {
        *secondaries.count() = count;
        call.outputs = {{"secondaries", secondaries.texts()}};
        call.refuse(secondaries.problem());
      });
  return good ? caller.last().code : std::nullopt;
}

std::optional<int> supportsFiType(Caller& caller, Node& node, const std::string& fiType) {
  std::string type = fiType;
  node.capability() = 0;
  const bool good = caller.call(
      Op::SupportsFiType, node.name(), {{"node", node.name()}, {"type", fiType}},
      [&](auto& provider) { return provider.supportsFiType(node.domain(), type.data()); },
      [&](Call& call) {
        call.outputs = {{"capability", node.capability()}};
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

bool initAltNode(Caller& caller, Node& primary, Node* second, Node& target, bool flag) {
  return caller.call(Op::InitAltNode, target.name(),
                     {{"primary", primary.name()},
                      {"second", second == nullptr ? Value() : Value(second->name())},
                      {"target", target.name()},
                      {"flag", flag ? 1 : 0}},
                     [&](auto& provider) {
                       return provider.initAltNode(primary.domain(),
                                                   second == nullptr ? nullptr : second->domain(),
                                                   target.domain(), flag);
                     });
}

void deInitNode(Caller& caller, Node& node) {
  caller.call(Op::DeInitNode, node.name(), ofNode(node),
              [&](auto& provider) { provider.deInitNode(node.domain()); });
}

bool configGetParam(Caller& caller, Node& node, const std::string& sessionId,
                    std::string& document) {
  return ConfigRequest().send(caller, Op::ConfigGetParam, orca_pdk::FI_CONFIG_GETPARAM, node,
                              sessionId, document);
}

bool configGet(Caller& caller, Node& node, const std::string& sessionId, std::string& values) {
  return ConfigRequest().send(caller, Op::ConfigGet, orca_pdk::FI_CONFIG_GET, node, sessionId,
                              values);
}

bool configSet(Caller& caller, Node& node, const std::string& sessionId, const std::string& values,
               std::string& completed) {
  return ConfigRequest(values).send(caller, Op::ConfigSet, orca_pdk::FI_CONFIG_SET, node, sessionId,
                                    completed);
}

bool configClear(Caller& caller, Node& node, const std::string& sessionId) {
  std::string nothing;
  return ConfigRequest().send(caller, Op::ConfigClear, orca_pdk::FI_CONFIG_CLEAR, node, sessionId,
                              nothing);
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

bool reAccessAltNode(Caller& caller, Node& node, Node& first, Node& second,
                     const std::string& sessionId, NodeSet& firsts, NodeSet& seconds) {
  std::string session = sessionId;
  return caller.call(Op::ReAccessAltNode, node.name(),
                     {{"node", node.name()},
                      {"first", first.name()},
                      {"second", second.name()},
                      {"session", sessionId},
                      {"firsts", firsts.nameList()},
                      {"seconds", seconds.nameList()}},
                     [&](auto& provider) {
                       return provider.reAccessAltNode(node.domain(), first.id(), second.id(),
                                                       session.data(), firsts.ids(), seconds.ids(),
                                                       firsts.count(), PYX_INTENT_NONE);
                     });
}

bool subobjList(Caller& caller, Node& node, std::vector<std::string>& objects) {
  orca_objid** list = nullptr;
  int count = 0;
  return caller.call(
      Op::SubobjList, node.name(), ofNode(node),
      [&](auto& provider) { return provider.subobjList(node.domain(), &list, &count); },
      [&](Call& call) {
        call.refuse(problemOfIds(list, count, "sub-objects"));
        if (call.refused.empty()) objects = idNames(list, count);
        call.outputs = {{"objects", objects}};
      });
}

bool queryValidSecondaries(Caller& caller, const std::string& node,
                           std::vector<std::string>& secondaries) {
  std::string name = node;
  HandedIds ids("secondary nodes");
  return caller.call(
      Op::QueryValidSecondaries, node, {{"node", node}},
      [&](auto& provider) {
        return provider.queryValidSecondaries(orNull(name), ids.array(), ids.count());
      },
      [&](Call& call) {
        secondaries = ids.texts();
        call.outputs = {{"secondaries", secondaries}};
        call.refuse(ids.problem());
      });
}

bool checkNodeExistence(Caller& caller, Node& node, int& exists) {
  exists = 0;
  return caller.call(
      Op::CheckNodeExistence, node.name(), ofNode(node),
      [&](auto& provider) { return provider.checkNodeExistence(node.domain(), &exists); },
      [&](Call& call) {
        call.outputs = {{"exists", exists}};
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
        call.refuse(blob.problem());
      });
}

bool cacheDisable(Caller& caller, Node& node, int flags) {
  return caller.call(Op::CacheDisable, node.name(), with(ofNode(node), {{"flags", flags}}),
                     [&](auto& provider) { return provider.cacheDisable(node.domain(), flags); });
}

void cacheEnable(Caller& caller, Node& node, int flags) {
  caller.call(Op::CacheEnable, node.name(), with(ofNode(node), {{"flags", flags}}),
              [&](auto& provider) { provider.cacheEnable(node.domain(), flags); });
}

void cacheFlush(Caller& caller, Node& node, int flags) {
  caller.call(Op::CacheFlush, node.name(), with(ofNode(node), {{"flags", flags}}),
              [&](auto& provider) { provider.cacheFlush(node.domain(), flags); });
}

bool interpose(Caller& caller, Node& node, Interposed& answer) {
  HandedId own;
  HandedIds groups("groups");
  int count = 0;
  const bool good = caller.call(
      Op::Interpose, node.name(), ofNode(node),
      [&](auto& provider) {
        return provider.interpose(node.domain(), own.address(), groups.array(), &count);
      },
      [&](Call& call) {
        *groups.count() = count;
        call.refuse(groups.problem());
        answer = {own.isThere(), own.name(), groups.texts()};
        call.outputs = {{"interposed", answer.name}, {"groups", answer.groups}};
      });
  if (good && caller.last().code == 0) answer.isThere = false;
  return good;
}

std::string catalogText(Caller& caller, const std::string& messageId, const std::string& locale) {
  const auto& catalogs = caller.plugin().provider().catalogManager();
  if (messageId.empty() || !catalogs) return messageId;
  std::string sentence = messageId;
  caller.call(
      Op::CatalogMessage, "", {{"message", messageId}, {"locale", locale}},
      [&](auto&) {
        char* text = nullptr;
        catalogs->getLocalizedMessage(messageId.c_str(), locale.c_str(), &text);
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
