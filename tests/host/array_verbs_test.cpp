#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::HasSubstr;

const std::string kInterposer = FIHOST_TEST_PLUGINS "/interposer.so";

TEST_F(Host, ProbeShowsGroupsAndFimsOfAnInterposer) {
  const Json answer = runJson({"probe", "--plugin", kInterposer}, 0);
  EXPECT_EQ(answer["groups"], (Json{{{"group", "snapA_FIM_GROUP"}, {"pattern", "disk"}}}));
  EXPECT_EQ(answer["fims"], (Json{{{"pattern", "disk"},
                                   {"fim", "snapA"},
                                   {"detail", "detail A"},
                                   {"group", "snapA_FIM_GROUP"},
                                   {"flags", 0x20}}}));
}

TEST_F(Host, TellsWhatAnInterposerHasOfItsOwnFromWhatItInherits) {
  const Json answer = runJson({"probe", "--plugin", kInterposer}, 0);
  EXPECT_EQ(answer["overrides"], (Json{"importResource", "importNode"}));
  EXPECT_EQ(answer["inherited"],
            (Json{"claim", "supportsFiType", "importTreeNode", "initNode", "initAltNode",
                  "deInitNode", "isReady", "interpose", "checkNodeExistence", "deportResource",
                  "addIgnoreNodeType", "setDefaultNodeType"}));
}

TEST_F(Host, InterposesNodesAndClaimsWhatStandsInFront) {
  const Json answer = runJson({"interpose", "--plugin", kInterposer, "/dev/disk1", "/dev/x"}, 0);
  EXPECT_EQ(answer["nodes"],
            (Json{{{"node", "/dev/disk1"},
                   {"interposed", "<P>/dev/disk1"},
                   {"groups", {"snapA_FIM_GROUP"}},
                   {"claim", "claimed as secondary"}},
                  {{"node", "/dev/x"}, {"interposed", ""}, {"groups", Json::array()}}}));
  EXPECT_EQ(answer["findings"], Json::array());
}

TEST_F(Host, ImportsAndDeportsResources) {
  const std::string luns = m_dir.file("lib/orca/cachefiles/luns");
  std::filesystem::create_directories(luns + "/encl");
  for (const char* name : {"/encl/old", "/encl/other"}) writeFile(luns + name, "3");
  const std::tuple<Words, int, std::string> cases[] = {
      {{"import", "UDID##a##b##c", "--host", "h1"}, 0, "imported UDID##a##b##c  as /dev/c"},
      {{"deport", "UDID##a##b##c", "--host", "h1"}, 0, "deported UDID##a##b##c"},
      {{"import", "UDID##a##b##c"},
       1,
       "importResource, node UDID##a##b##c: 6 (operation failed); no LUN record was written; "
       "whether anything else was done for it is not known"},
      {{"import", "UDID##a##b##c", "--host", "h2"},
       1,
       "6 (operation failed); LUN record written: " + luns + "/encl/c; LUN record removed: " +
           luns + "/encl/old; whether anything else was done for it is not known"},
      {{"import", "UDID##a##b##c", "--host", "h1", "--flags", "0x4"}, 1, "not supported"},
      {{"import", "disk"}, 1, "importResource, node disk: raised orca_pdk_4_4::CFiUdidException"},
  };
  for (auto [words, status, text] : cases) {
    words.insert(words.begin() + 1, {"--plugin", kInterposer});
    const CommandResult result = run(words);
    EXPECT_EQ(result.status, status) << Json(words).dump();
    EXPECT_THAT(result.out + result.err, HasSubstr(text));
  }
}

TEST_F(Host, SwitchesAccessOffAndOn) {
  for (const auto& [action, access] : {std::pair("disable", "off"), std::pair("enable", "on")}) {
    const Json answer = runJson(withPlugin("access", {action, "/data/a", "/data/b"}), 0);
    EXPECT_EQ(answer["access"], (Json{{{"node", "/data/a"}, {"access", access}},
                                      {{"node", "/data/b"}, {"access", access}}}));
  }
}

}  // namespace
