#ifndef ORCA_TESTS_ALL_OPERATIONS_H
#define ORCA_TESTS_ALL_OPERATIONS_H

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "cfipluginbase.h"

namespace orca_tests {

// An operation of the table.
struct Operation {
  template <typename Result, typename... Args>
  Operation(const char* text, Result (orca_pdk::CFiPluginBase::*member)(Args...))
      : name(text), call([member](orca_pdk::CFiPluginBase& provider) {
          std::tuple<std::remove_reference_t<Args>...> arguments;
          const auto result = [&](auto&... each) { return (provider.*member)(each...); };
          if constexpr (std::is_same_v<Result, int>) return std::apply(result, arguments);
          std::apply(result, arguments);
          return 0;
        }) {}
  std::string name;
  // Calls the operation with null pointers, zeros and empty objects; 0 for one without a number.
  std::function<int(orca_pdk::CFiPluginBase&)> call;
};

inline std::vector<Operation> listOf(auto... operations) { return {operations...}; }

// Each operation but the destructors, under the name that it has in the class.
inline std::vector<Operation> allOperations() {
#define ITS(name) Operation(#name, &orca_pdk::CFiPluginBase::name)
  return listOf(
      ITS(delayedInit), ITS(globalConfigInfoList), ITS(init), ITS(fini), ITS(claim),
      ITS(supportsFiType), ITS(deportTree), ITS(importTreeNode), ITS(initNode), ITS(config),
      ITS(initAltNode), ITS(reAccessTmpObj), ITS(reAccessAltNode), ITS(deInitNode), ITS(dispose),
      ITS(online), ITS(subobjList), ITS(errMsg), ITS(buildAltTree), ITS(quiesce), ITS(unquiesce),
      ITS(make), ITS(makeSnapshots), ITS(prepare), ITS(prepareSnapshots), ITS(select),
      ITS(selectSnapshots), ITS(isReady), ITS(cacheDisable), ITS(cacheEnable), ITS(cacheFlush),
      ITS(interpose), ITS(getAttr), ITS(getProviderInfo), ITS(enumerateNodes),
      ITS(enumerateAssociations), ITS(enumerateGroupNodes), ITS(enumerateFims),
      ITS(isValidNodeAssociation), ITS(getAssociatedNodes), ITS(checkNodeExistence), ITS(objctl),
      ITS(processProviderState), ITS(getLastError), ITS(delLastError), ITS(getLocaleMessage),
      ITS(delLocaleMessage), ITS(enableAccess), ITS(disableAccess), ITS(restore), ITS(resync),
      ITS(getStatus), ITS(prePrepare), ITS(queryValidSecondaries), ITS(resourceStatus),
      ITS(revisitPluginNodes), ITS(verifyQSCombos), ITS(setImportOptions), ITS(startBuildAltTree),
      ITS(translateResourceNames), ITS(enumerateEnclosures), ITS(importResource), ITS(format),
      ITS(enumerateHostNodes), ITS(onlineResource), ITS(deportResource), ITS(isParentPgn),
      ITS(unformat), ITS(preDeportResource), ITS(refreshTree), ITS(getBackupset), ITS(getAppStatus),
      ITS(setOpStatus), ITS(setCompStatus), ITS(setRestorepaths), ITS(createSnapReplicaNode),
      ITS(updateSnapshotId), ITS(getSnapshotSetId), ITS(preselect), ITS(updateSnapshotHandle),
      ITS(getSnapdiff), ITS(postDeport));
#undef ITS
}

}  // namespace orca_tests

#endif
