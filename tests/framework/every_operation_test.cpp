#include <cstring>
#include <fstream>
#include <functional>

#include "cfioperationtable.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

// Position of a virtual operation in its class's table, counted from 1.
template <typename Member>
long positionOf(Member member) {
  long words[2];
  static_assert(sizeof(words) == sizeof(member));
  std::memcpy(words, &member, sizeof(words));
  return (words[0] - 1) / 8 + 1;
}

struct Operation {
  template <typename Result, typename... Args>
  Operation(Result (orca_pdk::CFiPluginBase::*member)(Args...))
      : position(positionOf(member)), call([member](orca_pdk::CFiPluginBase& provider) {
          std::tuple<std::remove_reference_t<Args>...> arguments;
          const auto result = [&](auto&... each) { return (provider.*member)(each...); };
          if constexpr (std::is_same_v<Result, int>) return std::apply(result, arguments);
          std::apply(result, arguments);
          return 0;
        }) {}
  long position;
  // Calls the operation with null pointers, zeros and empty objects; 0 for one without a number.
  std::function<int(orca_pdk::CFiPluginBase&)> call;
};

std::vector<Operation> operationsOf(auto... members) { return {Operation(members)...}; }

// All operations but the destructors, in the order of their positions.
std::vector<Operation> allOperations() {
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

// The results of calls with null pointers and zeros, where not 0.
constexpr std::string_view kFours =
    " make makeSnapshots prepare select restore checkNodeExistence isValidNodeAssociation ";
constexpr std::string_view kThrees =
    " config errMsg enumerateNodes enumerateAssociations enumerateGroupNodes getAssociatedNodes "
    "getLastError getLocaleMessage enableAccess disableAccess ";

// The definition whose scope opens at a line of the base's source; empty when none does.
std::string scopeAt(int line) {
  std::ifstream source(PDK_SOURCES "/cfipluginbase.cpp");
  std::string definition, text;
  for (int number = 1; number <= line && std::getline(source, text); ++number) {
    if (!text.empty() && text[0] != ' ' && text[0] != '}') definition.clear();
    definition += text;
  }
  const bool isScope = text.find("OperationScope scope(*this") != std::string::npos ||
                       text.find("answer(*this, ") != std::string::npos;
  return isScope ? definition : std::string();
}

using EveryOperation = ProviderTest;

TEST_F(EveryOperation, AnswersAtItsPositionBetweenAnEntryAndAnExitLineOfItsName) {
  TestProvider bare;
  long expected = 3;
  for (const Operation& operation : allOperations()) {
    const std::string name(orca_pdk::kProviderOperations[operation.position - 1]);
    const auto isIn = [&](std::string_view names) {
      return names.find(" " + name + " ") != names.npos;
    };
    const int result = isIn(kFours) ? 4 : isIn(kThrees) ? 3 : 0;
    EXPECT_EQ(operation.position, expected++);
    m_recorder.lines.clear();
    EXPECT_EQ(operation.call(m_provider), result) << name;
    EXPECT_EQ(operation.call(bare), result) << name << " without trace log and managers";
    ASSERT_EQ(m_recorder.lines.size(), operation.position <= 4 ? 0U : 2U) << name;
    if (operation.position <= 4) continue;
    const std::string place = m_recorder.lines[0].substr(m_recorder.lines[0].find(" ["));
    EXPECT_EQ(m_recorder.lines,
              (Texts{"6 Entering Function " + name + place, "6 Exiting Function " + name + place}));
    EXPECT_TRUE(place.ends_with(", cfipluginbase]")) << place;
    EXPECT_NE(scopeAt(std::stoi(place.substr(2))).find("CFiPluginBase::" + name + "("),
              std::string::npos)
        << place << " is not where " << name << " opens its scope";
  }
  EXPECT_EQ(expected, 85);
}

// A pointer as the framework might hand it in, still holding something.
constexpr struct {
  template <typename Record>
  operator Record*() const {
    static int something;
    return reinterpret_cast<Record*>(&something);
  }
} kStale;

TEST_F(EveryOperation, ThatEnumeratesSetsTheListToNull) {
  pyx_node_list *nodes = kStale, *associated = kStale;
  pyx_assoc_list* associations = kStale;
  pyx_group_node_list* groups = kStale;
  pyx_fim_list* fims = kStale;
  EXPECT_EQ(m_provider.enumerateNodes(&nodes, nullptr, 0, nullptr), 0);
  EXPECT_EQ(m_provider.getAssociatedNodes(nullptr, &associated), 0);
  EXPECT_EQ(m_provider.enumerateAssociations(&associations), 0);
  EXPECT_EQ(m_provider.enumerateGroupNodes(&groups), 0);
  EXPECT_EQ(m_provider.enumerateFims(&fims), 0);
  const std::pair<const char*, const void*> outputs[] = {{"enumerateNodes", nodes},
                                                         {"getAssociatedNodes", associated},
                                                         {"enumerateAssociations", associations},
                                                         {"enumerateGroupNodes", groups},
                                                         {"enumerateFims", fims}};
  for (const auto& [operation, output] : outputs) EXPECT_EQ(output, nullptr) << operation;
}

TEST_F(EveryOperation, SetsOnlyTheNumbersThatItAnswersIn) {
  int32_t capability = 7;
  int exists = 7;
  long count = 7;
  std::vector<long> statuses = {7, 7, 7};
  orca_objid** ids = kStale;
  m_node.capability = &capability;
  m_provider.supportsFiType(&m_node, nullptr);
  m_provider.queryValidSecondaries(nullptr, nullptr, &count);
  m_provider.getStatus(nullptr, nullptr, 2, nullptr, 0, statuses.data());
  m_provider.claim(&m_id, &ids, &exists);
  m_provider.checkNodeExistence(&m_node, &exists);
  EXPECT_EQ(capability, 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(exists, 7);
  EXPECT_NE(ids, nullptr);
  EXPECT_EQ(statuses, (std::vector<long>{8, 8, 7}));
}

}  // namespace
}  // namespace orca_tests
