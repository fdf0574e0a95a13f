#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

class PluginBase : public ProviderTest {
 protected:
  std::string errMsg(int code) {
    const char* text = nullptr;
    EXPECT_EQ(m_provider.errMsg(code, &text), 0);
    return text != nullptr ? text : "(null)";
  }
};

TEST_F(PluginBase, NeverForgetsThatTheProcessShutsDown) {
  EXPECT_TRUE(CFiPluginBase::isShuttingDown(true) && CFiPluginBase::isShuttingDown(false));
}

TEST_F(PluginBase, StartsWithoutNamesAndTakesOrcaForANullFimName) {
  EXPECT_TRUE(m_provider.getProviderName().is_empty() && m_provider.getFimName().empty());
  m_provider.setFimName(nullptr);
  EXPECT_EQ(m_provider.getFimName(), "Orca");
}

TEST_F(PluginBase, AsksForTheErrorTextUnderItsUpperCaseNameAndReducedNumber) {
  const std::tuple<const char*, long, int, const char*> cases[] = {
      {"demo", 1000, 1005, "<MSG_ERROR_DEMO_0005>"},
      {"demo", 100, 100, "<MSG_ERROR_DEMO_0100>"},
      {"", 0, 0, "<MSG_ERROR__0000>"},
      {"x", 0, -1, "<MSG_ERROR_X_-001>"},
      {"x", -5, 2147483647, "<MSG_ERROR_X_-2147483644>"},
      {"x", 0x100000002L, 3, "<MSG_ERROR_X_0001>"}};
  EXPECT_EQ(errMsg(1), "(null)");
  m_provider.registerCatalogManager(CFiMessageCatalogManagerPtr(new CFiMessageCatalogManager));
  for (const auto& [name, offset, code, text] : cases) {
    m_provider.setProviderName(name);
    m_provider.setMessageIndexOffset(offset);
    EXPECT_EQ(errMsg(code), text);
  }
}

TEST_F(PluginBase, HandsOutTheLastErrorUntilItIsDeleted) {
  auto* message = new CFiIcuMessage("MSG_X", PYX_SEV_ERROR);
  message->addArgument(icu::Formattable(static_cast<int32_t>(5)));
  m_errors->pushError(CFiMessagePtr(message));
  pyx_msg_info* info = nullptr;
  EXPECT_EQ(m_provider.getLastError(&info), 0);
  ASSERT_NE(info, nullptr);
  EXPECT_STREQ(info->text,
               "<SERIALIZED_MESSAGE MSGID=MSG_X SEVERITY=3>\n"
               "\t<ARGVALUE INDEX=0 TYPE=2>5</ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
  EXPECT_EQ(m_provider.delLastError(&info), 0);
  EXPECT_EQ(m_provider.getLastError(&info), 0);
  EXPECT_EQ(info, nullptr);
}

TEST_F(PluginBase, KeepsTheCountOfAManagerThatIsRegisteredTwice) {
  EXPECT_EQ(m_nodes->getCount(), 2);
  m_provider.registerPrivateDataManager(m_nodes);
  m_provider.registerPrivateDataManager(m_provider.privateDataManager());
  EXPECT_EQ(m_nodes->getCount(), 2);
}

TEST_F(PluginBase, ClearsTheStateThatItIsAskedFor) {
  pyx_blob blob{5, m_name, 9};
  m_provider.processProviderState(nullptr, &blob, static_cast<pyx_op_providerstate>(2));
  EXPECT_EQ(blob.data, m_name);
  EXPECT_EQ(m_provider.processProviderState(nullptr, &blob, PYX_OPSTATE_GET), 0);
  EXPECT_TRUE(blob.length == 0 && blob.data == nullptr && blob.kind == 9);
}

TEST_F(PluginBase, PassesImportOptionsOnToTheNodesThatItKnows) {
  pyx_domain unknown{};
  pyx_splitnode first{&unknown, nullptr}, second{&m_node, nullptr};
  pyx_splitnode* nodes[] = {&first, nullptr, &second};
  pyx_host_infn host{m_name, nullptr};
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(m_provider.setImportOptions(nodes, 0, &host, 1, nullptr), 0);
  EXPECT_TRUE(data->getHostList().empty());
  EXPECT_EQ(m_provider.setImportOptions(nodes, 3, &host, 2, nullptr), 0);
  EXPECT_EQ(data->getHostList(), std::vector<tstr>{"node"});
  EXPECT_TRUE(data->getTransportable());
  EXPECT_EQ(m_provider.setImportOptions(nodes, 3, nullptr, 0, nullptr), 0);
  EXPECT_FALSE(data->getTransportable());
}

TEST(Sessions, AreFoundByTheirIdUntilTheyAreRemoved) {
  CFiSessionManager sessions;
  EXPECT_FALSE(sessions.find("s1"));
  const CFiSessionPtr session = sessions.findOrCreate("s1");
  EXPECT_EQ(session->getId(), "s1");
  EXPECT_EQ(sessions.findOrCreate("s1").get(), session.get());
  sessions.remove("s1");
  EXPECT_FALSE(sessions.find("s1"));
}

}  // namespace
}  // namespace orca_tests
