#include "cfiprivatedata.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

using PluginBase = ProviderTest;

TEST_F(PluginBase, NeverForgetsThatTheProcessShutsDownAndTakesOrcaForANullFimName) {
  EXPECT_TRUE(CFiPluginBase::isShuttingDown(true) && CFiPluginBase::isShuttingDown(false));
  EXPECT_TRUE(m_provider.getProviderName().is_empty() && m_provider.getFimName().empty());
  m_provider.setFimName(nullptr);
  EXPECT_EQ(m_provider.getFimName(), "Orca");
}

TEST_F(PluginBase, AsksForTheErrorTextUnderItsUpperCaseNameAndReducedNumber) {
  const std::tuple<const char*, long, int, const char*> cases[] = {
      {"demo", 1000, 1005, "<MSG_ERROR_DEMO_0005>"},
      {"demo", 100, 100, "<MSG_ERROR_DEMO_0100>"},
      {"", 0, 0, "<MSG_ERROR__0000>"}};
  const char* answer = nullptr;
  EXPECT_EQ(m_provider.errMsg(1, &answer), 0);
  EXPECT_EQ(answer, nullptr);
  m_provider.registerCatalogManager(CFiMessageCatalogManagerPtr(new CFiMessageCatalogManager));
  for (const auto& [name, offset, code, text] : cases) {
    m_provider.setProviderName(name);
    m_provider.setMessageIndexOffset(offset);
    EXPECT_EQ(m_provider.errMsg(code, &answer), 0);
    EXPECT_STREQ(answer, text);
  }
}

TEST_F(PluginBase, HandsOutTheLastErrorUntilItIsDeleted) {
  const CFiMessagePtr message(new CFiIcuMessage("MSG_X", PYX_SEV_ERROR));
  static_cast<CFiIcuMessage*>(message.get())->addArgument(icu::Formattable("x"));
  m_errors->pushError(message);
  pyx_msg_info* info = nullptr;
  EXPECT_EQ(m_provider.getLastError(&info), 0);
  ASSERT_NE(info, nullptr);
  EXPECT_TRUE(std::string(info->text).starts_with("<SERIALIZED_MESSAGE MSGID=MSG_X SEVERITY=3>\n"));
  EXPECT_EQ(m_provider.delLastError(&info), 0);
  EXPECT_EQ(m_provider.getLastError(&info), 0);
  EXPECT_EQ(info, nullptr);
}

TEST_F(PluginBase, ClearsTheStateThatItIsAskedFor) {
  pyx_blob blob{5, m_name, 9};
  m_provider.processProviderState(nullptr, &blob, static_cast<pyx_op_providerstate>(2));
  EXPECT_EQ(blob.data, m_name);
  EXPECT_EQ(m_provider.processProviderState(nullptr, &blob, PYX_OPSTATE_GET), 0);
  EXPECT_TRUE(blob.length == 0 && blob.data == nullptr && blob.kind == 9);
}

TEST_F(PluginBase, FindsASessionByItsIdUntilItIsRemoved) {
  CFiSessionManager sessions;
  const CFiSessionPtr session = sessions.findOrCreate("s1");
  EXPECT_TRUE(session->getId() == "s1" && sessions.find("s1").get() == session.get());
  sessions.remove("s1");
  EXPECT_FALSE(sessions.find("s1"));
}

TEST_F(PluginBase, PassesImportOptionsOnToTheNodesThatItKnows) {
  pyx_domain unknown{};
  pyx_splitnode first{&unknown, nullptr}, second{&m_node, nullptr};
  pyx_splitnode* nodes[] = {&first, nullptr, &second};
  pyx_host_infn host{m_name, nullptr};
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(m_provider.setImportOptions(nodes, 3, &host, 2, nullptr), 0);
  EXPECT_EQ(data->getHostList(), std::vector<tstr>{"node"});
  EXPECT_TRUE(data->getTransportable());
  EXPECT_EQ(m_provider.setImportOptions(nodes, 3, nullptr, 0, nullptr), 0);
  EXPECT_FALSE(data->getTransportable());
}

TEST_F(PluginBase, ReaccessesANodeWithPrivateDataOfWhatIsGiven) {
  constexpr auto kIntent = static_cast<pyx_intent>(5);
  char first[] = "S1", second[] = "S2", split[] = "mirror";
  const auto state = [&] {
    const CFiPrivateDataPtr data = m_nodes->find(&m_node);
    return data->getSessionId() + data->getSplitType() + std::to_string(data->getIntent()) +
           (data->getIsAltNode() ? " alternate" : "");
  };
  m_provider.reAccessTmpObj(&m_node, nullptr, split, nullptr, first, kIntent);
  EXPECT_EQ(state(), "S1mirror5");
  m_provider.reAccessTmpObj(&m_node, nullptr, nullptr, nullptr, nullptr, PYX_INTENT_NONE);
  EXPECT_EQ(state(), "S1mirror0");
  m_nodes->remove(&m_node);
  m_provider.reAccessAltNode(&m_node, nullptr, nullptr, second, nullptr, nullptr, 0, kIntent);
  EXPECT_EQ(state(), "S25");
}

TEST_F(PluginBase, SwitchesOneFlagOfEachNodeOffAndOn) {
  pyx_domain first{}, second{};
  first.flags = 0x9;
  pyx_node_subobj_list third{&second, nullptr, nullptr, nullptr};
  pyx_node_subobj_list nodeless{nullptr, nullptr, nullptr, &third};
  pyx_node_subobj_list list{&first, nullptr, nullptr, &nodeless};
  EXPECT_EQ(m_provider.disableAccess(&list, 0), 0);
  EXPECT_TRUE(first.flags == 0x49 && second.flags == 0x40);
  EXPECT_EQ(m_provider.enableAccess(&list, 0, 0, 0), 0);
  EXPECT_TRUE(first.flags == 0x9 && second.flags == 0);
}

TEST_F(PluginBase, ListsTheSubObjectsOfAKnownNode) {
  orca_objid* some[1];
  orca_objid** list = some;
  int count = 7;
  EXPECT_EQ(m_provider.subobjList(&m_node, &list, &count), 0);
  EXPECT_TRUE(list == some && count == 7);
  const auto data = m_nodes->findOrCreate(&m_node, 0);
  m_provider.subobjList(&m_node, &list, &count);
  EXPECT_TRUE(list == nullptr && count == 0);
  data->addSubObject(&m_id);
  data->addSubObject(&m_id);
  EXPECT_EQ(m_provider.subobjList(&m_node, &list, &count), 0);
  EXPECT_TRUE(list == data->getSubObjectList() && count == 2);
  EXPECT_EQ(m_recorder.takeBody().back(), "3 Info: subobjList, list element [1,node]");
}

TEST_F(PluginBase, EndsANodeWithoutItsFimList) {
  m_nodes->findOrCreate(&m_node, 0);
  for (int i = 0; i < 2; ++i) {
    auto* fim = static_cast<pyx_node_fim*>(calloc(1, sizeof(pyx_node_fim)));
    fim->next = std::exchange(m_node.fim_list, fim);
    fim->detail = static_cast<pyx_node_fim_entry*>(calloc(1, sizeof(pyx_node_fim_entry)));
    fim->detail->text = m_name;
  }
  m_provider.deInitNode(&m_node);
  EXPECT_EQ(m_node.fim_list, nullptr);
  EXPECT_FALSE(m_nodes->find(&m_node));
}

}  // namespace
}  // namespace orca_tests
