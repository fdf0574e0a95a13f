#include "framework/operationarguments.h"
#include "framework/operations.h"

namespace fihost::ops {

namespace {

// What nobody can have; of more the record, which is the framework's, says nothing here.
std::string problemOf(const Listed& list) {
  std::string said = "it says that it listed " + std::to_string(list.count);
  if (list.count < 0) return said;
  return list.count > 0 && !list.isThere ? said + ", but handed out no list" : "";
}

// Calls an operation that hands out a list, with `function(provider, where the list goes)`.
template <typename Record, typename Function>
bool list(Caller& caller, Op op, const Values& arguments, Listed& answer, Function function) {
  Record* record = nullptr;
  answer = {};
  return caller.call(
      op, "", arguments, [&](auto& provider) { return function(provider, &record); },
      [&](Call& call) {
        answer.isThere = record != nullptr;
        call.outputs = {{"list", answer.isThere ? Value(std::string("handed out")) : Value()},
                        {"count", answer.count}};
        call.refuse(problemOf(answer));
      });
}

}  // namespace

bool getProviderInfo(Caller& caller, Listed& answer) {
  return list<pyx_provider_list>(
      caller, Op::GetProviderInfo, {}, answer,
      [](auto& provider, auto** records) { return provider.getProviderInfo(records); });
}

bool enumerateNodes(Caller& caller, const std::string& filter, int flags, Listed& answer) {
  std::string pattern = filter;
  return list<pyx_node_list>(caller, Op::EnumerateNodes, {{"filter", filter}, {"flags", flags}},
                             answer, [&](auto& provider, auto** records) {
                               return provider.enumerateNodes(records, &answer.count, flags,
                                                              orNull(pattern));
                             });
}

bool enumerateAssociations(Caller& caller, Listed& answer) {
  return list<pyx_assoc_list>(
      caller, Op::EnumerateAssociations, {}, answer,
      [](auto& provider, auto** records) { return provider.enumerateAssociations(records); });
}

bool enumerateGroupNodes(Caller& caller, Listed& answer) {
  return list<pyx_group_node_list>(
      caller, Op::EnumerateGroupNodes, {}, answer,
      [](auto& provider, auto** records) { return provider.enumerateGroupNodes(records); });
}

bool enumerateFims(Caller& caller, Listed& answer) {
  return list<pyx_fim_list>(
      caller, Op::EnumerateFims, {}, answer,
      [](auto& provider, auto** records) { return provider.enumerateFims(records); });
}

bool enumerateEnclosures(Caller& caller, const std::string& filter, Listed& answer) {
  std::string pattern = filter;
  return list<pyx_enclosure_node_list>(caller, Op::EnumerateEnclosures, {{"filter", filter}},
                                       answer, [&](auto& provider, auto** records) {
                                         return provider.enumerateEnclosures(records, &answer.count,
                                                                             orNull(pattern));
                                       });
}

bool enumerateHostNodes(Caller& caller, const std::string& filter, Listed& answer) {
  std::string pattern = filter;
  return list<pyx_host_node_list>(caller, Op::EnumerateHostNodes, {{"filter", filter}}, answer,
                                  [&](auto& provider, auto** records) {
                                    return provider.enumerateHostNodes(records, &answer.count,
                                                                       orNull(pattern));
                                  });
}

bool getAssociatedNodes(Caller& caller, Listed& answer) {
  return list<pyx_node_list>(
      caller, Op::GetAssociatedNodes, {}, answer,
      [](auto& provider, auto** records) { return provider.getAssociatedNodes(nullptr, records); });
}

bool isValidNodeAssociation(Caller& caller, int& valid) {
  valid = 0;
  return caller.call(
      Op::IsValidNodeAssociation, "", {},
      [&](auto& provider) { return provider.isValidNodeAssociation(nullptr, &valid); },
      [&](Call& call) {
        call.outputs = {{"valid", valid}};
      });
}

bool getBackupset(Caller& caller, Node& node, const std::vector<std::string>& names, int flags) {
  TextArray texts(names);
  return caller.call(Op::GetBackupset, node.name(),
                     with(ofNode(node), {{"names", names}, {"flags", flags}}), [&](auto& provider) {
                       return provider.getBackupset(node.domain(), texts.count(), texts.array(),
                                                    flags, nullptr);
                     });
}

bool getAppStatus(Caller& caller, Node& node, int kind) {
  return caller.call(
      Op::GetAppStatus, node.name(), with(ofNode(node), {{"kind", kind}}),
      [&](auto& provider) { return provider.getAppStatus(node.domain(), kind, nullptr); });
}

bool setOpStatus(Caller& caller, Node& node, int status) {
  return caller.call(Op::SetOpStatus, node.name(), with(ofNode(node), {{"status", status}}),
                     [&](auto& provider) { return provider.setOpStatus(node.domain(), status); });
}

bool setCompStatus(Caller& caller, Node& node, int kind, const std::string& component, int status) {
  std::string name = component;
  return caller.call(
      Op::SetCompStatus, node.name(),
      with(ofNode(node), {{"kind", kind}, {"component", component}, {"status", status}}),
      [&](auto& provider) {
        return provider.setCompStatus(node.domain(), kind, orNull(name), status);
      });
}

bool setRestorepaths(Caller& caller, Node& node, const std::string& path, int flags) {
  std::string where = path;
  return caller.call(Op::SetRestorepaths, node.name(),
                     with(ofNode(node), {{"path", path}, {"flags", flags}}), [&](auto& provider) {
                       return provider.setRestorepaths(node.domain(), orNull(where), flags);
                     });
}

}  // namespace fihost::ops
