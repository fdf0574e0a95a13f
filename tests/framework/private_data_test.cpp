#include "cfiprivatedata.h"

#include "cfiprivatedatamgr.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

char g_name[] = "/dev/sdc";
orca_objid g_id{g_name, 3};

// A description list with these names, each its own default.
CFiConfigParamInfoList infosOf(const Texts& names) {
  CFiConfigParamInfoList list;
  for (const std::string& name : names) {
    list.params[name].key = list.params[name].defaultValue = name;
  }
  return list;
}

TEST(NodeState, IsThreeLinesInABufferOfTheirLengthAndTheNul) {
  for (const bool alternate : {false, true}) {
    CFiPrivateData data(&g_id);
    data.setSessionId("S<1>");
    data.setSessionId(nullptr);
    data.setIsAltNode(alternate);
    pyx_blob blob{7, g_name, 9};
    EXPECT_EQ(data.getNodeState(&blob), 0);
    EXPECT_EQ(std::string(blob.data, blob.length),
              std::string("<NODE_NAME>/dev/sdc</NODE_NAME>\n<IS_ALT_NODE>") +
                  (alternate ? "true" : "false") +
                  "</IS_ALT_NODE>\n<SESSION_ID>S<1></SESSION_ID>\n" + '\0');
    EXPECT_EQ(blob.kind, 1U);
    orca_free_buf(blob.data, blob.length);
  }
}

TEST(PrivateData, AccumulatesHostsAndPassesNamelessOnesOver) {
  char a[] = "a", c[] = "c";
  pyx_host_infn third{c, nullptr}, second{nullptr, &third}, first{a, &second};
  CFiPrivateData data;
  data.setHostList(&first);
  data.setHostList(&first);
  EXPECT_EQ(data.getHostList(), (std::vector<tstr>{"a", "c", "a", "c"}));
}

TEST(PrivateData, MakesTheListsOfAModeOnFirstUseOrWhenADerivedClassDeniesThem) {
  CFiPrivateData data;
  EXPECT_FALSE(data.hasConfigInfoList(0) || data.hasConfigDataList(1));
  EXPECT_EQ(data.configInfoList(0), data.configInfoList(0));
  EXPECT_EQ(data.configDataList(1), data.configDataList(1));
  EXPECT_FALSE(data.hasConfigInfoList(1) || data.hasConfigDataList(0));
  struct : CFiPrivateData {
    bool hasConfigInfoList(int) override { return false; }
  } denying;
  denying.configInfoList(0)->params["a"];
  EXPECT_TRUE(denying.configInfoList(0)->params.empty());
}

TEST(Defaults, AreAddedUnlessAnEarlierNameContainsTheirs) {
  const std::tuple<Texts, Texts, Texts> cases[] = {{{"xab"}, {"a", "ab"}, {"xab"}},
                                                   {{"b"}, {"abc", "b", "bc"}, {"b", "abc", "bc"}},
                                                   {{"A"}, {"a"}, {"A", "a"}},
                                                   {{}, {"a", "ab"}, {"a", "ab"}}};
  for (const auto& [before, defaults, after] : cases) {
    CFiPrivateData data;
    *data.configDataList(1) = infosOf(before).getDefaultDataList();
    CFiConfigParamInfoList infos = infosOf(defaults);
    data.addDefaultConfigParamsToDataList(1, &infos);
    EXPECT_EQ(data.configDataList(1)->getXML(), infosOf(after).getDefaultDataList().getXML());
    EXPECT_EQ(data.configDataList(1)->params.size(), after.size());
    EXPECT_FALSE(data.hasConfigInfoList(1));
    data.addDefaultConfigParamsToDataList(0, nullptr);
    EXPECT_TRUE(data.hasConfigInfoList(0) && !data.hasConfigDataList(0)) << "nothing to add";
    *data.configInfoList(0) = infos;
    data.addDefaultConfigParamsToDataList(0, nullptr);
    EXPECT_EQ(data.configDataList(0)->getXML(), infos.getDefaultDataList().getXML());
  }
}

TEST(PrivateDataMap, KeepsOneRecordForEachNodeUntilItIsRemoved) {
  CFiPrivateDataMap map;
  map.registerTraceLog(CFiTraceLogPtr(new CFiTraceLog));
  pyx_domain node{}, other{};
  node.objid = &g_id;
  EXPECT_FALSE(map.find(&node) || map.findOrCreate(nullptr, 0));
  const CFiPrivateDataPtr data = map.findOrCreate(&node, 0);
  EXPECT_STREQ(data->getObjName(), g_name);
  EXPECT_EQ(data->getTraceLog().get(), map.getTraceLog().get());
  EXPECT_FALSE(data->getIsAltNode());
  EXPECT_TRUE(map.findOrCreate(&node, 1)->getIsAltNode() && data->getIsAltNode());
  EXPECT_NE(map.findOrCreate(&other, 0).get(), data.get());
  map.remove(&node);
  EXPECT_FALSE(map.find(&node));
  EXPECT_EQ(data->getCount(), 1);
}

}  // namespace
}  // namespace orca_tests
