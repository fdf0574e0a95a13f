#include "cfioperationtable.h"
#include "framework/operations.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

class EveryOperation : public ProviderTest {};

// The result of a call with null pointers and zeros.
int resultOf(const std::string& name) {
  const auto isIn = [&](const std::string& names) {
    return names.find(" " + name + " ") != std::string::npos;
  };
  if (isIn(" make makeSnapshots prepare select restore checkNodeExistence isValidNodeAssociation "))
    return 4;
  return isIn(
             " config errMsg enumerateNodes enumerateAssociations enumerateGroupNodes "
             "getAssociatedNodes getLastError getLocaleMessage enableAccess disableAccess ")
             ? 3
             : 0;
}

TEST_F(EveryOperation, AnswersItsDefaultBetweenAnEntryAndAnExitLineOfItsName) {
  TestProvider bare;
  for (const Operation& operation : allOperations()) {
    const std::string name(orca_pdk::kProviderOperations[operation.position - 1]);
    m_recorder.lines.clear();
    EXPECT_EQ(operation.call(m_provider), resultOf(name)) << name;
    EXPECT_EQ(operation.call(bare), resultOf(name)) << name << " without trace log and managers";
    ASSERT_EQ(m_recorder.lines.size(), operation.position <= 4 ? 0U : 2U) << name;
    if (m_recorder.lines.empty()) continue;
    const std::string place = m_recorder.lines[0].substr(m_recorder.lines[0].find(" ["));
    EXPECT_EQ(m_recorder.lines,
              (Texts{"6 Entering Function " + name + place, "6 Exiting Function " + name + place}));
    EXPECT_TRUE(place.ends_with(", cfipluginbase]") && std::stoi(place.substr(2)) > 0) << place;
  }
}

// A pointer as the framework might hand it in, still holding something.
template <typename Record>
Record* stale() {
  static int something;
  return reinterpret_cast<Record*>(&something);
}

TEST_F(EveryOperation, ThatEnumeratesSetsTheListToNull) {
  const auto expectNull = [](auto* list, auto call) {
    EXPECT_EQ(call(&list), 0);
    EXPECT_EQ(list, nullptr);
  };
  TestProvider& p = m_provider;
  expectNull(stale<pyx_node_list>(),
             [&](auto l) { return p.enumerateNodes(l, nullptr, 0, nullptr); });
  expectNull(stale<pyx_node_list>(), [&](auto l) { return p.getAssociatedNodes(nullptr, l); });
  expectNull(stale<pyx_assoc_list>(), [&](auto l) { return p.enumerateAssociations(l); });
  expectNull(stale<pyx_group_node_list>(), [&](auto l) { return p.enumerateGroupNodes(l); });
  expectNull(stale<pyx_fim_list>(), [&](auto l) { return p.enumerateFims(l); });
}

TEST_F(EveryOperation, ThatNamesNoOutputLeavesItUntouched) {
  int number = 7;
  auto* ids = stale<orca_objid*>();
  m_provider.claim(&m_id, &ids, &number);
  m_provider.checkNodeExistence(&m_node, &number);
  m_provider.make(nullptr, nullptr, 0, &ids, &number);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(ids, stale<orca_objid*>());
}

TEST_F(EveryOperation, ThatAnswersInANumberSetsIt) {
  int32_t capability = 7;
  long count = 7;
  std::vector<long> statuses = {7, 7, 7};
  m_node.capability = &capability;
  m_provider.supportsFiType(&m_node, nullptr);
  m_provider.queryValidSecondaries(nullptr, nullptr, &count);
  m_provider.getStatus(nullptr, nullptr, 0, nullptr, 0, &statuses[2]);
  m_provider.getStatus(nullptr, nullptr, 2, nullptr, 0, statuses.data());
  EXPECT_EQ(capability, 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(statuses, (std::vector<long>{8, 8, 7}));
}

}  // namespace
}  // namespace orca_tests
