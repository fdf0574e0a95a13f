#ifndef ORCA_TESTS_FRAMEWORK_OPERATIONS_H
#define ORCA_TESTS_FRAMEWORK_OPERATIONS_H

#include <cstring>
#include <functional>
#include <tuple>
#include <vector>

#include "cfipluginbase.h"

namespace orca_tests {

// Position of a virtual operation in its class's table, counted from 1.
template <typename Member>
long positionOf(Member member) {
  long words[2];
  static_assert(sizeof(words) == sizeof(member));
  std::memcpy(words, &member, sizeof(words));
  return (words[0] - 1) / 8 + 1;
}

struct Operation {
  long position;
  // Calls the operation with null pointers, zeros and empty objects; 0 for one without a number.
  std::function<int(orca_pdk::CFiPluginBase&)> call;
};

template <typename Result, typename... Args>
Operation operationOf(Result (orca_pdk::CFiPluginBase::*member)(Args...)) {
  return {positionOf(member), [member](orca_pdk::CFiPluginBase& provider) {
            std::tuple<std::remove_reference_t<Args>...> arguments;
            auto call = [&](auto&... each) { return (provider.*member)(each...); };
            if constexpr (std::is_same_v<Result, int>) return std::apply(call, arguments);
            std::apply(call, arguments);
            return 0;
          }};
}

template <typename... Members>
std::vector<Operation> operationsOf(Members... members) {
  return {operationOf(members)...};
}

// All operations but the destructors, in the order of their positions.
inline std::vector<Operation> allOperations() {
  using P = orca_pdk::CFiPluginBase;
  return operationsOf(
      &P::delayedInit, &P::globalConfigInfoList, &P::init, &P::fini, &P::claim, &P::supportsFiType,
      &P::deportTree, &P::importTreeNode, &P::initNode, &P::config, &P::initAltNode,
      &P::reAccessTmpObj, &P::reAccessAltNode, &P::deInitNode, &P::dispose, &P::online,
      &P::subobjList, &P::errMsg, &P::buildAltTree, &P::quiesce, &P::unquiesce, &P::make,
      &P::makeSnapshots, &P::prepare, &P::prepareSnapshots, &P::select, &P::selectSnapshots,
      &P::isReady, &P::cacheDisable, &P::cacheEnable, &P::cacheFlush, &P::interpose, &P::getAttr,
      &P::getProviderInfo, &P::enumerateNodes, &P::enumerateAssociations, &P::enumerateGroupNodes,
      &P::enumerateFims, &P::isValidNodeAssociation, &P::getAssociatedNodes, &P::checkNodeExistence,
      &P::objctl, &P::processProviderState, &P::getLastError, &P::delLastError,
      &P::getLocaleMessage, &P::delLocaleMessage, &P::enableAccess, &P::disableAccess, &P::restore,
      &P::resync, &P::getStatus, &P::prePrepare, &P::queryValidSecondaries, &P::resourceStatus,
      &P::revisitPluginNodes, &P::verifyQSCombos, &P::setImportOptions, &P::startBuildAltTree,
      &P::translateResourceNames, &P::enumerateEnclosures, &P::importResource, &P::format,
      &P::enumerateHostNodes, &P::onlineResource, &P::deportResource, &P::isParentPgn, &P::unformat,
      &P::preDeportResource, &P::refreshTree, &P::getBackupset, &P::getAppStatus, &P::setOpStatus,
      &P::setCompStatus, &P::setRestorepaths, &P::createSnapReplicaNode, &P::updateSnapshotId,
      &P::getSnapshotSetId, &P::preselect, &P::updateSnapshotHandle, &P::getSnapdiff,
      &P::postDeport);
}

}  // namespace orca_tests

#endif
