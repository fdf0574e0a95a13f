#include "cfiprivatedata.h"

#include "cfiprivatedatamgr.h"
#include "cfiudid.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

char g_name[] = "/dev/sdc";
orca_objid g_id{g_name, 3};

TEST(NodeState, IsThreeLinesInABufferOfTheirLength) {
  CFiPrivateData data(&g_id);
  data.setSessionId("S<1>");
  data.setSessionId(nullptr);
  data.setIsAltNode(true);
  pyx_blob blob{7, g_name, 9};
  EXPECT_EQ(data.getNodeState(&blob), 0);
  EXPECT_EQ(std::string(blob.data, blob.length),
            std::string("<NODE_NAME>/dev/sdc</NODE_NAME>\n<IS_ALT_NODE>true</IS_ALT_NODE>\n"
                        "<SESSION_ID>S<1></SESSION_ID>\n") +
                '\0');
  EXPECT_EQ(blob.kind, 1U);
  orca_free_buf(blob.data, blob.length);
}

TEST(PrivateData, MakesTheListsOfAModeWhenThereAreNone) {
  CFiPrivateData data;
  EXPECT_EQ(data.configInfoList(0), data.configInfoList(0));
  EXPECT_FALSE(data.hasConfigInfoList(1));
  EXPECT_FALSE(data.hasConfigDataList(0));
  struct : CFiPrivateData {
    bool hasConfigInfoList(int) override { return false; }
  } denying;
  denying.configInfoList(0)->params["a"];
  EXPECT_TRUE(denying.configInfoList(0)->params.empty());
}

TEST(Defaults, AreAddedUnlessAnEarlierNameContainsTheirs) {
  const std::tuple<Texts, Texts, Texts> cases[] = {{{"xab"}, {"a", "ab"}, {"xab"}},
                                                   {{"b"}, {"abc", "b", "bc"}, {"b", "abc", "bc"}},
                                                   {{}, {"a", "ab"}, {"a", "ab"}}};
  for (const auto& [before, defaults, after] : cases) {
    CFiPrivateData data;
    data.configDataList(1)->parse(values(before).c_str());
    CFiConfigParamInfoList infos;
    describe(infos, defaults);
    data.addDefaultConfigParamsToDataList(1, &infos);
    EXPECT_EQ(data.configDataList(1)->getXML(), values(after).c_str());
  }
}

TEST(PrivateDataMap, KeepsOneRecordForEachNodeUntilItIsRemoved) {
  CFiPrivateDataMap map;
  pyx_domain node{};
  node.objid = &g_id;
  EXPECT_FALSE(map.find(&node));
  EXPECT_FALSE(map.findOrCreate(nullptr, 0));
  const CFiPrivateDataPtr data = map.findOrCreate(&node, 0);
  EXPECT_STREQ(data->getObjName(), g_name);
  EXPECT_FALSE(data->getIsAltNode());
  EXPECT_EQ(map.findOrCreate(&node, 1).get(), data.get());
  EXPECT_TRUE(data->getIsAltNode());
  map.remove(&node);
  EXPECT_FALSE(map.find(&node));
  EXPECT_EQ(data->getCount(), 1);
}

// The parts of an identifier, or the text and the reason of its refusal.
std::string partsOf(const char* text) {
  try {
    const CFiUdid udid{tstr(text)};
    return udid.getFirst() + "," + udid.getSecond() + "," + udid.getEnclosure() + "," +
           udid.getDevice() + (udid.isFourField() ? " 4 " : " 3 ") + udid.toString();
  } catch (const CFiUdidException& refusal) {
    return refusal.text + " " + std::to_string(refusal.code);
  }
}

TEST(Udid, HasTheFieldsAfterTheMarker) {
  const std::pair<const char*, std::string> cases[] = {
      {"UDID##A##B##C", "A,B,,C 3 UDID##A##B####C"},
      {"xyzUDID##a##b##e##d", "a,b,e,d 4 UDID##A##B##E##D"},
      {"UDID##a##b##e##d##UDID##f", "a,b,e,d##UDID##f 4 UDID##A##B##E##D##UDID##F"},
      {"UDID##a##b####", "a,b,, 4 UDID##A##B####"},
      {"UDID##a##b##", "UDID##a##b## 1"},
      {"a##b##c", "a##b##c 2"},
      {"xUDID##ab", "xUDID##ab 3"},
      {"UDID##a##b", "UDID##a##b 4"}};
  for (const auto& [text, parts] : cases) EXPECT_EQ(partsOf(text), parts) << text;
}

class TargetSelection : public PluginTest {
 protected:
  TargetSelection() { m_data.registerTraceLog(m_log); }
  // Selects with the text as the parameter's value; null sets none.
  int select(const char* spec) {
    if (spec != nullptr) m_data.configDataList(1)->params["snapshot_resource_spec"].value = spec;
    return m_data.selectTargetFromConfigData();
  }

  char m_udid[24] = "UDID##v##p##enc1##dev7";
  orca_objid m_device{m_udid, 3};
  CFiPrivateData m_data{&m_device};
};

TEST_F(TargetSelection, TakesTheFirstTargetOfTheMatchingEntry) {
  EXPECT_EQ(select("[E2##01;02]\n[ENC1##DEV7;t&gt;1;ENC9##t3]&amp;[enc1##dev7;t4]"), 0);
  EXPECT_EQ(m_data.getConfiguredTarget(), "UDID##V##P##ENC1##T>1");
  EXPECT_EQ(m_data.getTargets(), (Texts{"t>1", "t3"}));
  EXPECT_EQ(m_recorder.takeBody().back(), "3 Target Udid [UDID##V##P##ENC1##T>1] \n");
}

TEST_F(TargetSelection, NamesTheReasonOfEachRefusal) {
  m_data.configDataList(0)->params["snapshot_resource_spec"].value = "[ENC1##DEV7;t1]";
  const std::string node = std::string(" [") + m_udid + "]";
  const auto refusal = [&](const char* spec) {
    EXPECT_EQ(select(spec), 6);
    return m_recorder.takeBody().back();
  };
  EXPECT_EQ(refusal(nullptr),
            "1 Error: No snapshot configuration data has been specified for" + node);
  const std::pair<const char*, std::string> cases[] = {
      {"[]&amp;", "Configuration \"[]&\" has no resources specified for source"},
      {"[;;]", "Source configuration \";;\" has not targets specified for"},
      {"[E##;a][ENC1##DEV7;t1]", "Source configuration \"E##\" has no device data specified for"},
      {"[dev7;t][ENC1##DEV7;t]",
       "Source configuration \"dev7\" has no enclosure data specified for"},
      {"[ENC1##DEV7]", "Source configuration found, but no targets are specified for"},
      {"[ENC1##D;a##][E##DEV7;a]", "No matching source specification found for"}};
  for (const auto& [spec, reason] : cases) {
    EXPECT_EQ(refusal(spec), "1 " + reason + node + ".") << spec;
  }
  m_data.configDataList(1)->params.clear();
  EXPECT_EQ(refusal(nullptr),
            "1 Configuration data parameter \"snapshot_resource_spec\" unspecified for object" +
                node + ".");
}

TEST_F(TargetSelection, ClearsTheTargetsOnceThereAreEntries) {
  m_data.addTarget("old");
  select("[]");
  EXPECT_EQ(m_data.getTargets(), Texts{"old"});
  select("[ENC1##DEV7;t1;##]");
  EXPECT_EQ(m_data.getTargets(), Texts{"t1"});
}

}  // namespace
}  // namespace orca_tests
