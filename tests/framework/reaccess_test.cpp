#include "cfiprivatedata.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::CFiPrivateDataPtr;

constexpr auto kIntent = static_cast<pyx_intent>(5);

class ReAccess : public ProviderTest {
 protected:
  void expectPrivateData(pyx_intent intent, const std::string& texts) {
    const CFiPrivateDataPtr data = m_nodes->find(&m_node);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->getIntent(), intent);
    EXPECT_EQ(data->getSessionId() + data->getSplitType(), texts);
    EXPECT_FALSE(data->getIsAltNode());
  }
  char m_session[3] = "S1";
  char m_split[7] = "mirror";
};

TEST_F(ReAccess, OfATemporaryObjectMakesItsPrivateDataAndSetsWhatIsGiven) {
  m_provider.reAccessTmpObj(&m_node, nullptr, m_split, nullptr, m_session, kIntent);
  expectPrivateData(kIntent, "S1mirror");
  m_provider.reAccessTmpObj(&m_node, nullptr, nullptr, nullptr, nullptr, PYX_INTENT_NONE);
  expectPrivateData(PYX_INTENT_NONE, "S1mirror");
}

TEST_F(ReAccess, OfAnAlternateNodeSetsIntentAndSession) {
  m_provider.reAccessAltNode(&m_node, nullptr, nullptr, m_session, nullptr, nullptr, 0, kIntent);
  expectPrivateData(kIntent, "S1");
}

TEST_F(ReAccess, SwitchesOneFlagOfEachNodeOffAndOn) {
  pyx_domain first{}, second{};
  first.flags = 0x9;
  second.flags = 0x40;
  pyx_node_subobj_list third{&second, nullptr, nullptr, nullptr};
  pyx_node_subobj_list nodeless{nullptr, nullptr, nullptr, &third};
  pyx_node_subobj_list list{&first, nullptr, nullptr, &nodeless};
  EXPECT_EQ(m_provider.disableAccess(&list, 0), 0);
  EXPECT_EQ(first.flags, 0x49U);
  EXPECT_EQ(second.flags, 0x40U);
  EXPECT_EQ(m_provider.enableAccess(&list, 0, 0, 0), 0);
  EXPECT_EQ(first.flags, 0x9U);
  EXPECT_EQ(second.flags, 0U);
}

TEST_F(ReAccess, ListsTheSubObjectsOfAKnownNode) {
  orca_objid* some[1];
  orca_objid** list = some;
  int count = 7;
  EXPECT_EQ(m_provider.subobjList(&m_node, &list, &count), 0);
  EXPECT_TRUE(list == some && count == 7);
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(m_provider.subobjList(&m_node, &list, &count), 0);
  EXPECT_TRUE(list == nullptr && count == 0);
  for (orca_objid* id : {&m_id, static_cast<orca_objid*>(nullptr), &m_id}) data->addSubObject(id);
  EXPECT_EQ(m_provider.subobjList(&m_node, &list, &count), 0);
  EXPECT_TRUE(list == data->getSubObjectList() && count == 3);
  EXPECT_EQ(m_recorder.takeBody(), (Texts{"3 Info: subobjList, list element [0,node]",
                                          "3 Info: subobjList, list element [1,]",
                                          "3 Info: subobjList, list element [2,node]"}));
}

TEST_F(ReAccess, EndsANodeWithoutItsFimListButWithTheTexts) {
  m_nodes->findOrCreate(&m_node, 0);
  for (int i = 0; i < 2; ++i) {
    auto* fim = static_cast<pyx_node_fim*>(calloc(1, sizeof(pyx_node_fim)));
    fim->next = std::exchange(m_node.fim_list, fim);
    fim->detail = static_cast<pyx_node_fim_entry*>(calloc(1, sizeof(pyx_node_fim_entry)));
    fim->detail->text = m_name;
  }
  m_node.fim_aux = m_name;
  m_provider.deInitNode(&m_node);
  EXPECT_EQ(m_node.fim_list, nullptr);
  EXPECT_EQ(m_node.fim_aux, m_name);
  EXPECT_FALSE(m_nodes->find(&m_node));
}

}  // namespace
}  // namespace orca_tests
