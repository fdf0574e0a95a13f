#include <cfipluginbase.h>
#include <cfisession.h>

#include <nlohmann/json.hpp>
#include <tuple>
#include <type_traits>

#include "check/bench.h"
#include "framework/currentoperation.h"
#include "framework/exceptions.h"

namespace fihost::check {

namespace {

using orca_pdk::CFiPluginBase;
using Json = nlohmann::json;

// An operation, which is called with null pointers, zeros and empty objects; its code, 0 for one
// that has none.
struct Entry {
  const char* name;
  int (*call)(CFiPluginBase&);
};

template <typename Result, typename... Args>
int callEmpty(CFiPluginBase& provider, Result (CFiPluginBase::*member)(Args...)) {
  std::tuple<std::remove_cvref_t<Args>...> arguments{};
  const auto call = [&](auto&... each) { return (provider.*member)(each...); };
  if constexpr (std::is_same_v<Result, int>) {
    return std::apply(call, arguments);
  } else {
    std::apply(call, arguments);
    return 0;
  }
}

#define ENTRY(name)                                                                           \
  {                                                                                           \
#name, [](CFiPluginBase & provider) { return callEmpty(provider, &CFiPluginBase::name); } \
  }
constexpr Entry kEntries[] = {
    ENTRY(delayedInit),
    ENTRY(globalConfigInfoList),
    ENTRY(init),
    ENTRY(fini),
    ENTRY(claim),
    ENTRY(supportsFiType),
    ENTRY(deportTree),
    ENTRY(importTreeNode),
    ENTRY(initNode),
    ENTRY(config),
    ENTRY(initAltNode),
    ENTRY(reAccessTmpObj),
    ENTRY(reAccessAltNode),
    ENTRY(deInitNode),
    ENTRY(dispose),
    ENTRY(online),
    ENTRY(subobjList),
    ENTRY(errMsg),
    ENTRY(buildAltTree),
    ENTRY(quiesce),
    ENTRY(unquiesce),
    ENTRY(make),
    ENTRY(makeSnapshots),
    ENTRY(prepare),
    ENTRY(prepareSnapshots),
    ENTRY(select),
    ENTRY(selectSnapshots),
    ENTRY(isReady),
    ENTRY(cacheDisable),
    ENTRY(cacheEnable),
    ENTRY(cacheFlush),
    ENTRY(interpose),
    ENTRY(getAttr),
    ENTRY(getProviderInfo),
    ENTRY(enumerateNodes),
    ENTRY(enumerateAssociations),
    ENTRY(enumerateGroupNodes),
    ENTRY(enumerateFims),
    ENTRY(isValidNodeAssociation),
    ENTRY(getAssociatedNodes),
    ENTRY(checkNodeExistence),
    ENTRY(objctl),
    ENTRY(processProviderState),
    ENTRY(getLastError),
    ENTRY(delLastError),
    ENTRY(getLocaleMessage),
    ENTRY(delLocaleMessage),
    ENTRY(enableAccess),
    ENTRY(disableAccess),
    ENTRY(restore),
    ENTRY(resync),
    ENTRY(getStatus),
    ENTRY(prePrepare),
    ENTRY(queryValidSecondaries),
    ENTRY(resourceStatus),
    ENTRY(revisitPluginNodes),
    ENTRY(verifyQSCombos),
    ENTRY(setImportOptions),
    ENTRY(startBuildAltTree),
    ENTRY(translateResourceNames),
    ENTRY(enumerateEnclosures),
    ENTRY(importResource),
    ENTRY(format),
    ENTRY(enumerateHostNodes),
    ENTRY(onlineResource),
    ENTRY(deportResource),
    ENTRY(isParentPgn),
    ENTRY(unformat),
    ENTRY(preDeportResource),
    ENTRY(refreshTree),
    ENTRY(getBackupset),
    ENTRY(getAppStatus),
    ENTRY(setOpStatus),
    ENTRY(setCompStatus),
    ENTRY(setRestorepaths),
    ENTRY(createSnapReplicaNode),
    ENTRY(updateSnapshotId),
    ENTRY(getSnapshotSetId),
    ENTRY(preselect),
    ENTRY(updateSnapshotHandle),
    ENTRY(getSnapdiff),
    ENTRY(postDeport),
};
#undef ENTRY
static_assert(std::size(kEntries) == 82);

// What came of a call: a code, or what was raised.
std::string called(const Entry& entry, Life& life) {
  const CurrentOperation current(life.plugin().name(), entry.name);
  Json answer;
  try {
    answer["code"] = entry.call(life.plugin().provider());
  } catch (...) {
    answer["raised"] = currentException();
  }
  return answer.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Calls each operation in a process of its own and lets `judge` see what came of it; what it finds
// wrong is collected.
void callAll(Bench& bench, const std::function<std::string(const Entry&, const Outcome&)>& judge) {
  Life life(bench, {});
  life.init();
  const auto limit = std::chrono::milliseconds(bench.options().timeout * 250);
  std::string wrong;
  for (const Entry& entry : kEntries) {
    const Outcome outcome = Apart([&] { return called(entry, life); }).wait(limit);
    const std::string what = judge(entry, outcome);
    if (!what.empty()) wrong += (wrong.empty() ? "" : "; ") + what;
  }
  require(wrong.empty(), wrong);
}

void comeBack(Bench& bench) {
  callAll(bench, [](const Entry&, const Outcome& outcome) {
    return outcome.kind == Outcome::Failed ? outcome.text : "";
  });
}

void throwNothing(Bench& bench) {
  callAll(bench, [](const Entry& entry, const Outcome& outcome) -> std::string {
    const Json answer = Json::parse(outcome.text, nullptr, false);
    if (!answer.is_object() || !answer.contains("raised")) return "";
    return std::string(entry.name) + " raised " + std::string(answer["raised"]);
  });
}

void haveKnownResults(Bench& bench) {
  callAll(bench, [](const Entry& entry, const Outcome& outcome) -> std::string {
    const Json answer = Json::parse(outcome.text, nullptr, false);
    if (!answer.is_object() || !answer.contains("code") || isKnownResult(answer["code"])) return "";
    return std::string(entry.name) + " answered " + answer["code"].dump() +
           ", which has no meaning";
  });
}

constexpr Requirement kTableRequirements[] = {
    {"table.returns", "Every operation comes back from null pointers and zeros.",
     "A framework of another version passes what this one does not.", comeBack},
    {"table.exceptions", "No operation throws for null pointers and zeros.",
     "The framework is no C++ program: an exception ends it.", throwNothing},
    {"table.results", "Every operation answers null pointers and zeros with a known result.",
     "A number without a meaning helps nobody who reads a log.", haveKnownResults},
};

}  // namespace

Requirements tableRequirements() { return kTableRequirements; }

}  // namespace fihost::check
