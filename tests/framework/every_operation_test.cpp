#include <fstream>

#include "cfioperationtable.h"
#include "framework/all_operations.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

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

using EveryOperation = PluginTest;

TEST_F(EveryOperation, AnswersBetweenAnEntryAndAnExitLineOfItsName) {
  TestProvider bare;
  EXPECT_EQ(allOperations().size() + 2, orca_pdk::kProviderOperations.size()) << "two destructors";
  for (const auto& [name, call] : allOperations()) {
    SCOPED_TRACE(name);
    const std::string listed = " " + name + " ";
    const bool isFour = kFours.find(listed) != kFours.npos;
    const int result = isFour ? 4 : kThrees.find(listed) != kThrees.npos ? 3 : 0;
    m_recorder.lines.clear();
    EXPECT_EQ(call(m_provider), result);
    EXPECT_EQ(call(bare), result) << "without trace log and managers";
    const bool isSilent = name == "delayedInit" || name == "globalConfigInfoList";
    ASSERT_EQ(m_recorder.lines.size(), isSilent ? 0U : 2U);
    if (isSilent) continue;
    const std::string place = m_recorder.lines[0].substr(m_recorder.lines[0].find(" ["));
    EXPECT_EQ(m_recorder.lines,
              (Texts{"6 Entering Function " + name + place, "6 Exiting Function " + name + place}));
    EXPECT_TRUE(place.ends_with(", cfipluginbase]")) << place;
    EXPECT_NE(scopeAt(std::stoi(place.substr(2))).find("CFiPluginBase::" + name + "("),
              std::string::npos)
        << place << " is not where the scope opens";
  }
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
