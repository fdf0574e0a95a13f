#include <optional>

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

struct OverridingProvider : TestProvider {
  CFiConfigParamInfoList* globalConfigInfoList(int index, bool primary) override {
    return list ? *list : TestProvider::globalConfigInfoList(index, primary);
  }
  std::optional<CFiConfigParamInfoList*> list;
};

// A known node, and provider's descriptions of index 1 that hold "keep".
class ConfigOperation : public ProviderTestOf<OverridingProvider> {
 protected:
  // What config hands out, by default with the selectors of index 1.
  std::string config(int mode, const char* text = nullptr, int result = 0, int first = 1) {
    std::string input = text != nullptr ? text : "";
    pyx_confspec spec{first, 1 - first, text != nullptr ? input.data() : nullptr};
    m_recorder.lines.clear();
    EXPECT_EQ(m_provider.config(&m_node, mode, nullptr, &spec), result);
    const std::string output = spec.text != nullptr ? spec.text : "(null)";
    if (spec.text != input.data()) free(spec.text);
    return output;
  }

  CFiPrivateDataPtr m_data = m_nodes->findOrCreate(&m_node, 0);
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
  for (int mode : {0, 6}) EXPECT_EQ(config(mode, "in"), "in") << "no such mode";
}

TEST_F(ConfigOperation, GetStoresTheDefaultsOfTheNodesOwnDescriptionsButNotTheProviders) {
  EXPECT_EQ(config(kGet), values({"keep"}));
  EXPECT_EQ(m_recorder.takeBody(),
            (Texts{"3  config str  \n", "1 GET: Mode[1]: " + values({"keep"}) + " \n"}));
  EXPECT_FALSE(m_data->hasConfigDataList(1) || m_data->hasConfigInfoList(1));
  EXPECT_EQ(config(kGet, nullptr, 0, 0), values({}));
  m_data->configInfoList(1);
  EXPECT_EQ(config(kGet), "(null)");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  describe(*m_data->configInfoList(1), "own");
  EXPECT_EQ(config(kGet), values({"own"}));
  EXPECT_EQ(m_data->configDataList(1)->getXML(), values({"own"}).c_str());
}

TEST_F(ConfigOperation, SetCompletesTheValuesWithDefaultsAndClearTakesThem) {
  for (int mode : {kSet, kSetToo}) {
    EXPECT_EQ(config(mode, values({"dir"}).c_str()), values({"dir", "keep"}));
    EXPECT_EQ(config(kGet), values({"dir", "keep"}));
    EXPECT_EQ(config(kClear, "in"), "in");
    EXPECT_EQ(m_data->configDataList(1)->getXML(), values({"dir", "keep"}).c_str());
    EXPECT_EQ(config(kGet), "(null)");
  }
  describe(*m_data->configInfoList(1), "own");
  EXPECT_EQ(config(kSet, values({"dir"}).c_str()), values({"dir", "own"}));
}

TEST_F(ConfigOperation, SetRefusesABadDocumentAndKeepsTheValues) {
  EXPECT_EQ(config(kSet), "(null)");
  EXPECT_EQ(m_recorder.takeBody().back(), "1 ERROR: SET: Mode[1], Invalid config string.\n");
  EXPECT_EQ(config(kClear), "(null)");
  EXPECT_FALSE(m_data->hasConfigDataList(1));
  config(kSet, values({"dir"}).c_str());
  EXPECT_EQ(config(kSet, "<bad>", 3), "(null)");
  EXPECT_EQ(m_recorder.takeBody(),
            (Texts{"3  config str <bad> \n", "1 ERROR: SET: Mode[1]: Invalid XML [<bad>] \n"}));
  EXPECT_EQ(m_data->configDataList(1)->params.at("dir").value, "dir");
}

TEST_F(ConfigOperation, GetParamPrefersTheNodesDescriptionsAndAsksAnOverriddenListAsGetDoesNot) {
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
  m_provider.list = nullptr;
  EXPECT_EQ(config(kGetParam), "(null)");
  CFiConfigParamInfoList list;
  m_provider.list = &list;
  const std::string mine = describe(list, "mine");
  EXPECT_EQ(config(kGetParam), mine);
  m_nodes->remove(&m_node);
  m_data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(config(kGet), values({"keep"}));
  const std::string own = describe(*m_data->configInfoList(1), "own");
  EXPECT_EQ(config(kGetParam), own);
}

}  // namespace
}  // namespace orca_tests
