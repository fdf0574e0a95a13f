#include "cfioperationtable.h"

#include <gtest/gtest.h>

#include "framework/operations.h"

namespace orca_tests {
namespace {

template <typename... Members>
void expectOrder(Members... members) {
  long expected = 3;
  for (long position : {positionOf(members)...}) EXPECT_EQ(position, expected++);
}

TEST(OperationTable, HasEveryOperationAtItsPosition) {
  long expected = 3;
  for (const Operation& operation : allOperations()) EXPECT_EQ(operation.position, expected++);
  EXPECT_EQ(expected, 85);
  EXPECT_EQ(orca_pdk::kProviderOperations.size(), 84U);
}

TEST(OperationTable, OfPrivateDataKeepsItsOrder) {
  using D = orca_pdk::CFiPrivateData;
  expectOrder(&D::hasConfigInfoList, &D::hasConfigDataList, &D::addDefaultConfigParamsToDataList,
              &D::configInfoList, &D::configDataList, &D::setIntent, &D::getIntent,
              &D::setSplitType, &D::getSplitType, &D::setSessionId, &D::getSessionId,
              &D::getHostList, &D::setHostList, &D::getTransportable, &D::setTransportable,
              &D::setNodeState, &D::getNodeState, &D::getObjName, &D::addSubObject,
              &D::getSubObjectList, &D::getSubObjectListLength, &D::setIsAltNode, &D::getIsAltNode,
              &D::getConfiguredTarget, &D::getTargets, &D::addTarget, &D::setConfiguredTarget,
              &D::selectTargetFromConfigData);
}

}  // namespace
}  // namespace orca_tests
