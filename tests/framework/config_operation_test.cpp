#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

enum { kGet = 1, kSet = 2, kClear = 3, kGetParam = 4, kSetToo = 5 };

// A value document with these keys, each its own value.
std::string values(const Texts& keys) {
  std::string text = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n<ConfigValueList>\n";
  for (const std::string& key : keys) {
    text += "<ConfigValue>\n\t<dataType></dataType>\n\t<key>" + key + "</key>\n\t<value>" + key +
            "</value>\n</ConfigValue>\n";
  }
  return text + "</ConfigValueList>\n";
}

// Adds a description whose default is its key; answers the document of descriptions.
std::string describe(CFiConfigParamInfoList& list, const std::string& key) {
  list.params[key].key = list.params[key].defaultValue = key;
  list.updateXML();
  return list.getXML().c_str();
}

// A known node, and provider's descriptions of index 1 that hold "keep".
class ConfigOperation : public ProviderTest {
 protected:
  // What config hands out, by default with the selectors of index 1.
  std::string config(int mode, const char* text = nullptr, int result = 0, int first = 1) {
    std::string input = text != nullptr ? text : "";
    pyx_confspec spec{first, 1 - first, text != nullptr ? input.data() : nullptr};
    m_recorder.lines.clear();
    EXPECT_EQ(m_config->config(&m_node, mode, nullptr, &spec), result);
    const std::string output = spec.text != nullptr ? spec.text : "(null)";
    if (spec.text != input.data()) free(spec.text);
    return output;
  }

  CFiPrivateDataPtr m_data = m_nodes->findOrCreate(&m_node, 0);
  CFiPluginBase* m_config = &m_provider;
  const std::string m_keep = describe(m_provider.firstConfigInfoList(1), "keep");
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
  EXPECT_EQ(m_recorder.takeBody(), (Texts{"3  config str  \n", "3  config str node \n"}));
}

TEST_F(ConfigOperation, GetHandsOutTheProvidersDefaultsWithoutStoringThem) {
  EXPECT_EQ(config(kGet), values({"keep"}));
  EXPECT_EQ(m_recorder.takeBody(),
            (Texts{"3  config str  \n", "1 GET: Mode[1]: " + values({"keep"}) + " \n"}));
  EXPECT_FALSE(m_data->hasConfigDataList(1) || m_data->hasConfigInfoList(1));
  EXPECT_EQ(config(kGet, nullptr, 0, 0), values({}));
  EXPECT_EQ(config(kGet, nullptr, 0, -1), values({"keep"}));
}

TEST_F(ConfigOperation, GetStoresTheDefaultsOfTheNodesOwnDescriptions) {
  m_data->configInfoList(1);
  EXPECT_EQ(config(kGet), "(null)");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  describe(*m_data->configInfoList(1), "own");
  EXPECT_EQ(config(kGet), values({"own"}));
  EXPECT_EQ(m_data->configDataList(1)->getXML(), values({"own"}).c_str());
  m_data->configDataList(1)->params.clear();
  EXPECT_EQ(config(kGet), "(null)");
}

TEST_F(ConfigOperation, SetCompletesTheValuesWithDefaults) {
  for (int mode : {kSet, kSetToo}) {
    EXPECT_EQ(config(mode, values({"dir"}).c_str()), values({"dir", "keep"}));
    EXPECT_EQ(config(kGet), values({"dir", "keep"}));
  }
  describe(*m_data->configInfoList(1), "own");
  EXPECT_EQ(config(kSet, values({"dir"}).c_str()), values({"dir", "own"}));
}

TEST_F(ConfigOperation, SetRefusesABadDocumentAndKeepsTheValues) {
  EXPECT_EQ(config(kSet), "(null)");
  EXPECT_EQ(m_recorder.takeBody().back(), "1 ERROR: SET: Mode[1], Invalid config string.\n");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  config(kSet, values({"dir"}).c_str());
  EXPECT_EQ(config(kSet, "<bad>", 3), "(null)");
  EXPECT_EQ(m_recorder.takeBody(),
            (Texts{"3  config str <bad> \n", "1 ERROR: SET: Mode[1]: Invalid XML [<bad>] \n"}));
  EXPECT_EQ(m_data->configDataList(1)->params.at("dir").value, "dir");
}

TEST_F(ConfigOperation, ClearTakesTheValuesAndLeavesTheText) {
  EXPECT_EQ(config(kClear), "(null)");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  const std::string document = config(kSet, values({"dir"}).c_str());
  EXPECT_EQ(config(kClear, "in"), "in");
  EXPECT_TRUE(m_data->configDataList(1)->params.empty());
  EXPECT_EQ(m_data->configDataList(1)->getXML(), document.c_str());
}

TEST_F(ConfigOperation, GetParamPrefersTheNodesDescriptions) {
  const std::string second = describe(m_provider.secondConfigInfoList(1), "second");
  m_data->configInfoList(1);
  EXPECT_EQ(config(kGetParam), m_keep);
  EXPECT_EQ(m_recorder.takeBody().back(), "3 GETPARAM: Mode[1]: " + m_keep + " \n");
  pyx_domain* members[] = {&m_node};
  m_node.members = members;
  EXPECT_EQ(config(kGetParam), m_keep);
  m_node.member_count = 1;
  EXPECT_EQ(config(kGetParam), second);
  EXPECT_EQ(config(kGetParam, nullptr, 0, 0), "(null)");
  const std::string own = describe(*m_data->configInfoList(1), "own");
  EXPECT_EQ(config(kGetParam), own);
}

TEST_F(ConfigOperation, GetParamAsksAnOverriddenListAndGetDoesNot) {
  struct : TestProvider {
    CFiConfigParamInfoList* globalConfigInfoList(int, bool) override { return list; }
    CFiConfigParamInfoList* list = nullptr;
  } provider;
  provider.registerPrivateDataManager(m_nodes);
  m_config = &provider;
  EXPECT_EQ(config(kGetParam), "(null)");
  CFiConfigParamInfoList list;
  const std::string mine = describe(list, "mine");
  provider.list = &list;
  EXPECT_EQ(config(kGetParam), mine);
  EXPECT_EQ(config(kGet), values({}));
}

TEST_F(ConfigOperation, OfAnotherModeDoesNothing) {
  for (int mode : {0, 6, -1}) EXPECT_EQ(config(mode, "in"), "in");
}

}  // namespace
}  // namespace orca_tests
