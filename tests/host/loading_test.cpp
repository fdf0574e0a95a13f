#include <sys/stat.h>

#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::HasSubstr;

TEST_F(Host, RefusesWhatIsNoPluginAndSaysWhy) {
  const std::string text = m_dir.file("text.so");
  writeFile(text, "this is no ELF file, but long enough to be looked at as one: 0123456789abcdef");
  const ScopedEnv env("TEST_THROW", "orca_provider_create");
  const std::pair<std::string, Words> cases[] = {
      {text,
       {"cannot load plug-in " + text, "invalid ELF header",
        "; build it against this kit, orca_pdk 4.4"}},
      {m_dir.file("none.so"), {"cannot load plug-in " + m_dir.file("none.so") + ": No such file"}},
      {plugin("other_abi"),
       {"other_abi.so", "\"9.9\"", "\"4.4\"; rebuild it against orca_pdk 4.4"}},
      {plugin("no_entry"),
       {"no_entry.so", "lacks the symbol orca_provider_create", "put ORCA_PROVIDER(Class)"}},
      {plugin("provider"), {"orca_provider_create raised std::runtime_error: no provider"}},
      {plugin("no_provider"),
       {"plug-in " + plugin("no_provider") + ", orca_provider_create made no provider"}},
      {"unheard_of", {"no plug-in \"unheard_of\" in "}},
  };
  for (const auto& [plugin, words] : cases) {
    const CommandResult result = run({"probe", "--plugin", plugin});
    EXPECT_EQ(result.status, 3) << plugin;
    for (const std::string& word : words) EXPECT_THAT(result.err, HasSubstr(word));
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(Host, TellsItsVersionAndItsAbi) {
  EXPECT_EQ(run({"--version"}).out, "fihost 4.4.0, provider ABI 4.4\n");
}

TEST_F(Host, MakesTheFoldersOfTheStoreInItsRoot) {
  run(withPlugin("probe", {}));
  for (const char* folder : {"lib/orca/configfiles", "lib/orca/cachefiles"}) {
    EXPECT_TRUE(std::filesystem::is_directory(m_dir.path() / folder)) << folder;
  }
}

TEST_F(Host, FindsABareNameInThePluginFolder) {
  const ScopedEnv env("ORCA_PLUGIN_DIR", FIHOST_TEST_PLUGINS);
  EXPECT_EQ(runJson({"probe", "--plugin", "provider"}, 0)["provider"]["name"], "tester");
}

TEST_F(Host, ProbeShowsIdentityOverridesAndClaims) {
  const Json answer = runJson(withPlugin("probe", {"/data/a", "/other"}), 0);
  EXPECT_EQ(
      answer["provider"],
      (Json{
          {"name", "tester"}, {"fim", "TestFim"}, {"abi", "4.4"}, {"plugin", plugin("provider")}}));
  EXPECT_EQ(answer["overrides"],
            (Json{"init", "fini", "claim", "initNode", "deInitNode", "dispose", "quiesce",
                  "unquiesce", "make", "prepare", "isReady", "processProviderState", "restore",
                  "getStatus", "prePrepare"}));
  EXPECT_EQ(answer["claims"],
            (Json{{{"node", "/data/a"}, {"answer", 1}, {"meaning", "claimed"}},
                  {{"node", "/other"}, {"answer", 0}, {"meaning", "not claimed"}}}));
  EXPECT_EQ(answer["findings"], Json::array());
}

TEST_F(Host, EndsWithTwoAfterWrongUse) {
  writeFile(m_dir.file("broken"), "no document");
  mkfifo(m_dir.file("fifo").c_str(), 0600);
  const Words cases[] = {
      {},
      {"fly"},
      {"probe"},
      {"restore", "unknown"},
      withPlugin("snapshot", {}),
      withPlugin("snapshot", {"/data/a", "/data/a"}),
      withPlugin("snapshot", {"/data/a", "--set", "keep"}),
      withPlugin("snapshot", {"/data/a", "--params", m_dir.file("broken")}),
      withPlugin("snapshot", {"/data/a", "--params", m_dir.file("missing")}),
      withPlugin("snapshot", {"/data/a", "--params", m_dir.file("fifo")}),
      withPlugin("snapshot", {"/data/a", "--params", "/dev/zero"}),
  };
  for (const Words& words : cases) {
    const CommandResult result = run(words);
    EXPECT_EQ(result.status, 2) << Json(words).dump();
    EXPECT_NE(result.err, "") << Json(words).dump();
  }
}

}  // namespace
