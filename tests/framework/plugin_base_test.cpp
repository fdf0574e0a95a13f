#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

using PluginBase = PluginTest;

TEST_F(PluginBase, AsksForTheErrorTextUnderItsNameInUpperCase) {
  const std::tuple<const char*, long, int, const char*> cases[] = {
      {"demo", 1000, 1005, "<MSG_ERROR_DEMO_0005>"}, {"demo", 100, 100, "<MSG_ERROR_DEMO_0100>"}};
  const char* answer = m_name;
  EXPECT_EQ(m_provider.errMsg(1, &answer), 0);
  EXPECT_EQ(answer, nullptr) << "no catalogs";
  m_provider.registerCatalogManager(CFiMessageCatalogManagerPtr(new CFiMessageCatalogManager));
  for (const auto& [name, offset, code, text] : cases) {
    m_provider.setProviderName(name);
    m_provider.setMessageIndexOffset(offset);
    EXPECT_EQ(m_provider.errMsg(code, &answer), 0);
    EXPECT_STREQ(answer, text);
  }
}

TEST_F(PluginBase, HasNoStateToHandOut) {
  pyx_blob blob{5, m_name, 9};
  EXPECT_EQ(m_provider.processProviderState(nullptr, &blob, PYX_OPSTATE_GET), 0);
  EXPECT_EQ(blob.length, 0U);
  EXPECT_EQ(blob.data, nullptr);
  EXPECT_EQ(blob.kind, 9U);
}

TEST_F(PluginBase, AddsTheNamedHostsOfImportOptionsToTheNodesThatItKnows) {
  pyx_domain unknown{};
  pyx_splitnode first{&unknown, nullptr}, second{&m_node, nullptr};
  pyx_splitnode* nodes[] = {&first, nullptr, &second};
  pyx_host_infn last{m_name, nullptr}, nameless{nullptr, &last}, host{m_name, &nameless};
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(m_provider.setImportOptions(nodes, 3, &host, 2, nullptr), 0);
  EXPECT_EQ(data->getHostList(), (std::vector<tstr>{"node", "node"}));
  EXPECT_TRUE(data->getTransportable());
  EXPECT_EQ(m_provider.setImportOptions(nodes, 3, nullptr, 0, nullptr), 0);
  EXPECT_FALSE(data->getTransportable());
}

TEST_F(PluginBase, ReaccessesANodeWithPrivateDataOfWhatIsGiven) {
  constexpr auto kIntent = static_cast<pyx_intent>(5);
  char first[] = "S1", second[] = "S2", split[] = "mirror";
  const auto state = [&] {
    const CFiPrivateDataPtr data = m_nodes->find(&m_node);
    return data->getSessionId() + data->getSplitType() + std::to_string(data->getIntent());
  };
  m_provider.reAccessTmpObj(&m_node, nullptr, split, nullptr, first, kIntent);
  EXPECT_EQ(state(), "S1mirror5");
  m_nodes->remove(&m_node);
  m_provider.reAccessAltNode(&m_node, nullptr, nullptr, second, nullptr, nullptr, 0, kIntent);
  EXPECT_EQ(state(), "S25");
}

TEST_F(PluginBase, SwitchesTheAccessFlagOfEachNode) {
  pyx_domain first{}, second{};
  first.flags = 0x9;
  pyx_node_subobj_list third{&second, nullptr, nullptr, nullptr},
      nodeless{nullptr, nullptr, nullptr, &third}, list{&first, nullptr, nullptr, &nodeless};
  EXPECT_EQ(m_provider.disableAccess(&list, 0), 0);
  EXPECT_EQ(first.flags, 0x49U);
  EXPECT_EQ(second.flags, 0x40U);
  EXPECT_EQ(m_provider.enableAccess(&list, 0, 0, 0), 0);
  EXPECT_EQ(first.flags, 0x9U);
  EXPECT_EQ(second.flags, 0U);
}

TEST_F(PluginBase, ListsTheSubObjectsOfAKnownNode) {
  orca_objid* some[1];
  using Answer = std::pair<orca_objid**, int>;
  const auto answer = [&] {
    Answer output(some, 7);
    EXPECT_EQ(m_provider.subobjList(&m_node, &output.first, &output.second), 0);
    return output;
  };
  EXPECT_EQ(answer(), Answer(some, 7)) << "an unknown node";
  const auto data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(answer(), Answer(nullptr, 0));
  data->addSubObject(&m_id);
  data->addSubObject(&m_id);
  EXPECT_EQ(answer(), Answer(data->getSubObjectList(), 2));
}

enum { kGet = 1, kSet = 2, kClear = 3, kGetParam = 4, kSetToo = 5 };

// A known node, and a provider whose descriptions of index 1 hold "keep".
class ConfigOperation : public PluginTest {
 protected:
  // What config hands out, by default with the selectors of index 1.
  std::string config(int mode, const char* text = nullptr, int result = 0, int first = 1) {
    std::string input = text != nullptr ? text : "";
    pyx_confspec spec{first, 1 - first, text != nullptr ? input.data() : nullptr};
    EXPECT_EQ(m_provider.config(&m_node, mode, nullptr, &spec), result);
    const std::string output = spec.text != nullptr ? spec.text : "(null)";
    if (spec.text != input.data()) free(spec.text);
    return output;
  }

  CFiPrivateDataPtr m_data = m_nodes->findOrCreate(&m_node, 0);
  const std::string m_keep = describe(m_provider.firstConfigInfoList(1), {"keep"});
};

TEST_F(ConfigOperation, StoresTheSessionOfAKnownNodeWhateverFollows) {
  char first[] = "S1", second[] = "S2";
  pyx_domain unknown{};
  pyx_confspec spec{0, 0, m_name};
  EXPECT_EQ(m_provider.config(&unknown, kGet, first, &spec), 3);
  EXPECT_EQ(spec.text, m_name);
  EXPECT_EQ(m_provider.config(&m_node, kGet, first, nullptr), 3);
  EXPECT_EQ(m_data->getSessionId(), "S1");
  EXPECT_EQ(m_provider.config(&m_node, kClear, second, &spec), 0);
  EXPECT_EQ(m_data->getSessionId(), "S2");
  EXPECT_EQ(spec.text, nullptr);
  for (int mode : {0, 6}) EXPECT_EQ(config(mode, "in"), "in") << "no such mode";
}

TEST_F(ConfigOperation, GetStoresTheDefaultsOfTheNodesOwnDescriptionsButNotTheProviders) {
  EXPECT_EQ(config(kGet), values({"keep"}));
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  EXPECT_FALSE(m_data->hasConfigInfoList(1));
  EXPECT_EQ(config(kGet, nullptr, 0, 0), values({}));
  m_data->configInfoList(1);
  EXPECT_EQ(config(kGet), "(null)");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  describe(*m_data->configInfoList(1), {"own"});
  EXPECT_EQ(config(kGet), values({"own"}));
  EXPECT_EQ(m_data->configDataList(1)->getXML(), values({"own"}).c_str());
}

TEST_F(ConfigOperation, SetCompletesTheValuesWithDefaults) {
  for (int mode : {kSet, kSetToo}) {
    EXPECT_EQ(config(mode, values({"dir"}).c_str()), values({"dir", "keep"}));
    EXPECT_EQ(config(kGet), values({"dir", "keep"}));
    EXPECT_EQ(config(kClear, "in"), "in");
    EXPECT_EQ(m_data->configDataList(1)->getXML(), values({"dir", "keep"}).c_str());
    EXPECT_EQ(config(kGet), "(null)");
  }
  describe(*m_data->configInfoList(1), {"own"});
  EXPECT_EQ(config(kSet, values({"dir"}).c_str()), values({"dir", "own"}));
}

TEST_F(ConfigOperation, SetKeepsTheValuesWhenTheDocumentIsBad) {
  EXPECT_EQ(config(kSet), "(null)");
  EXPECT_EQ(m_recorder.takeBody().back(), "1 ERROR: SET: Mode[1], Invalid config string.\n");
  EXPECT_EQ(config(kClear), "(null)");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  config(kSet, values({"dir"}).c_str());
  EXPECT_EQ(config(kSet, "<bad>", 3), "(null)");
  EXPECT_EQ(m_recorder.takeBody().back(), "1 ERROR: SET: Mode[1]: Invalid XML [<bad>] \n");
  EXPECT_EQ(m_data->configDataList(1)->params.at("dir").value, "dir");
}

TEST_F(ConfigOperation, SetAnswersWithTheListThatADerivedClassMadeAnew) {
  struct Denying : CFiPrivateData {
    using CFiPrivateData::CFiPrivateData;
    bool hasConfigDataList(int) override { return false; }
  };
  struct DenyingMap : CFiPrivateDataMap {
    CFiPrivateData* create(pyx_domain* domain) override {
      return domain->objid != nullptr ? new Denying(domain->objid) : nullptr;
    }
  };
  const CFiPrivateDataManagerPtr nodes(new DenyingMap);
  m_provider.registerPrivateDataManager(nodes);
  pyx_domain unnamed{};
  EXPECT_FALSE(nodes->findOrCreate(&unnamed, 1));
  EXPECT_TRUE(nodes->findOrCreate(&m_node, 0));
  EXPECT_EQ(config(kSet, values({"dir"}).c_str()), "");
}

TEST_F(ConfigOperation, GetParamPrefersTheNodesDescriptions) {
  const std::string second = describe(m_provider.secondConfigInfoList(1), {"second"});
  EXPECT_EQ(config(kGetParam), m_keep);
  pyx_domain* members[] = {&m_node};
  m_node.members = members;
  m_node.member_count = 1;
  EXPECT_EQ(config(kGetParam), second);
  EXPECT_EQ(config(kGetParam, nullptr, 0, 0), "(null)");
  CFiConfigParamInfoList list;
  m_provider.list = &list;
  const std::string mine = describe(list, {"mine"});
  EXPECT_EQ(config(kGet), values({"keep"}));
  m_data->configInfoList(1);
  EXPECT_EQ(config(kGetParam), mine);
  const std::string own = describe(*m_data->configInfoList(1), {"own"});
  EXPECT_EQ(config(kGetParam), own);
}

}  // namespace
}  // namespace orca_tests
