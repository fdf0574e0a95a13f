#include <cstdlib>

#include "framework/lunrecords.h"
#include "framework/operationarguments.h"
#include "framework/operations.h"

namespace fihost::ops {

namespace {

// The nodes as a list of sub-objects.
std::vector<pyx_node_subobj_list> subObjects(NodeSet& nodes) {
  std::vector<pyx_node_subobj_list> list(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    pyx_node_subobj_list* const next = i + 1 < nodes.size() ? &list[i + 1] : nullptr;
    list[i] = {nodes[i].domain(), nodes[i].id(), nullptr, next};
  }
  return list;
}

Values ofResource(const std::string& resource, const std::string& host, int flags) {
  return {{"resource", resource}, {"host", host}, {"flags", flags}};
}

Values ofResources(const std::vector<std::string>& resources, const ResourceOptions& options) {
  return {{"resources", resources},
          {"type", options.type},
          {"name", options.name},
          {"options", options.options},
          {"flags", options.flags}};
}

std::string nodeOf(const std::vector<std::string>& resources) {
  std::string all;
  for (const std::string& resource : resources) all += (all.empty() ? "" : ", ") + resource;
  return all;
}

// Texts that an operation puts into an array of the host's.
class FilledTexts {
 public:
  explicit FilledTexts(std::size_t count) : m_texts(count) {}
  ~FilledTexts() {
    for (char* text : m_texts) std::free(text);
  }
  FilledTexts(const FilledTexts&) = delete;
  FilledTexts& operator=(const FilledTexts&) = delete;

  char** array() { return m_texts.data(); }
  std::vector<std::string> texts() const {
    std::vector<std::string> all;
    for (const char* text : m_texts) all.emplace_back(text == nullptr ? "" : text);
    return all;
  }

 private:
  std::vector<char*> m_texts;
};

}  // namespace

bool importResource(Caller& caller, const std::string& resource, const std::string& host, int flags,
                    std::string& path) {
  std::string name = resource;
  std::string hostName = host;
  HandedText imported;
  const LunRecords records;
  return caller.call(
      Op::ImportResource, resource, ofResource(resource, host, flags),
      [&](auto& provider) {
        return provider.importResource(nullptr, name.data(), orNull(hostName), nullptr, flags,
                                       imported.address(), nullptr);
      },
      [&](Call& call) {
        path = imported.text();
        call.outputs = {{"path", path}};
        const std::string changes = call.isGood() ? "" : records.changes();
        call.known = path.empty() ? changes : "handed out: " + path;
        if (!path.empty() && !changes.empty()) call.known += "; " + changes;
      });
}

bool preDeportResource(Caller& caller, const std::string& resource, const std::string& host,
                       int flags) {
  std::string name = resource;
  std::string hostName = host;
  return caller.call(Op::PreDeportResource, resource, ofResource(resource, host, flags),
                     [&](auto& provider) {
                       return provider.preDeportResource(name.data(), flags, orNull(hostName));
                     });
}

bool deportResource(Caller& caller, const std::string& resource, const std::string& host,
                    int flags) {
  std::string name = resource;
  std::string hostName = host;
  return caller.call(
      Op::DeportResource, resource, ofResource(resource, host, flags), [&](auto& provider) {
        return provider.deportResource(name.data(), orNull(hostName), nullptr, nullptr, flags);
      });
}

bool resourceStatus(Caller& caller, Node& resource, int flags, long& status) {
  pyx_msg_info* info = nullptr;
  status = kNoStatus;
  return caller.call(
      Op::ResourceStatus, resource.name(), {{"resource", resource.name()}, {"flags", flags}},
      [&](auto& provider) { return provider.resourceStatus(resource.id(), flags, &status, &info); },
      [&](Call& call) {
        const bool isThere = info != nullptr && info->text != nullptr;
        call.outputs = {{"status", status},
                        {"message", isThere ? Value(std::string(info->text)) : Value()}};
      });
}

bool isParentPgn(Caller& caller, const std::string& name, int flags, int& answer) {
  std::string copy = name;
  answer = 0;
  return caller.call(
      Op::IsParentPgn, name, {{"name", name}, {"flags", flags}},
      [&](auto& provider) { return provider.isParentPgn(copy.data(), &answer, flags); },
      [&](Call& call) {
        call.outputs = {{"answer", answer}};
      });
}

bool translateResourceNames(Caller& caller, const std::vector<std::string>& names,
                            std::vector<std::string>& translated) {
  TextArray from(names);
  FilledTexts to(names.size());
  return caller.call(
      Op::TranslateResourceNames, nodeOf(names), {{"names", names}},
      [&](auto& provider) {
        return provider.translateResourceNames(from.array(), from.count(), to.array());
      },
      [&](Call& call) {
        translated = to.texts();
        call.outputs = {{"translated", translated}};
      });
}

bool format(Caller& caller, const std::vector<std::string>& resources,
            const ResourceOptions& options, std::vector<std::string>& formatted) {
  TextArray names(resources);
  ResourceOptions given = options;
  HandedTexts texts("resources");
  int count = 0;
  return caller.call(
      Op::Format, nodeOf(resources), ofResources(resources, options),
      [&](auto& provider) {
        return provider.format(names.array(), names.count(), orNull(given.type), orNull(given.name),
                               orNull(given.options), given.flags, texts.array(), &count);
      },
      [&](Call& call) {
        *texts.count() = count;
        formatted = texts.texts();
        call.outputs = {{"formatted", formatted}};
        call.refuse(texts.problem());
      });
}

bool unformat(Caller& caller, const std::vector<std::string>& resources, int flags) {
  TextArray names(resources);
  return caller.call(
      Op::Unformat, nodeOf(resources), {{"resources", resources}, {"flags", flags}},
      [&](auto& provider) { return provider.unformat(names.array(), names.count(), flags); });
}

bool onlineResource(Caller& caller, const std::vector<std::string>& resources,
                    const ResourceOptions& options, std::vector<std::string>& onlined) {
  TextArray names(resources);
  ResourceOptions given = options;
  HandedTexts texts("resources");
  int count = 0;
  return caller.call(
      Op::OnlineResource, nodeOf(resources),
      with(ofResources(resources, options), {{"host", options.host}}),
      [&](auto& provider) {
        return provider.onlineResource(names.array(), names.count(), orNull(given.type),
                                       orNull(given.name), orNull(given.host),
                                       orNull(given.options), given.flags, texts.array(), &count);
      },
      [&](Call& call) {
        *texts.count() = count;
        onlined = texts.texts();
        call.outputs = {{"onlined", onlined}};
        call.refuse(texts.problem());
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

}  // namespace fihost::ops
