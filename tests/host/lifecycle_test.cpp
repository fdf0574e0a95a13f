#include <signal.h>
#include <string.h>
#include <sys/resource.h>

#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kSnapshot = "snap:/data/a";
const auto kWholeOrder = Json::parse(R"([
  "init", "claim", "initNode", "supportsFiType", "config GETPARAM", "config SET", "select",
  "quiesce", "prePrepare", "prepare", "make", "unquiesce", "processProviderState", "isReady",
  "getStatus", "deInitNode", "fini"])")
                             .get<Words>();

class LifeCycle : public Host {};

TEST_F(LifeCycle, ParamsShowsTheDescriptionsAsTableAndAsTheyCame) {
  const CommandResult table = run(withPlugin("params", {"/data/a"}));
  EXPECT_EQ(table.status, 0) << table.err;
  EXPECT_EQ(table.out,
            "KEY   TYPE         USE     DEFAULT  ALLOWED     SHARED  MEANING\n"
            "keep  int          SELECT  7        1-64        no      <MSG_keep>\n"
            "mode  string_list  SELECT  auto     auto, copy  no      <MSG_mode>\n");
  const CommandResult xml = run(withPlugin("params", {"/data/a", "--xml"}));
  EXPECT_THAT(xml.out, testing::StartsWith("<?xml version=\"1.0\" standalone=\"yes\" ?>\n"
                                           "<ConfigParamList>\n<ConfigParam>\n\t<key>keep</key>"));
  const CommandResult refused = run(withPlugin("params", {"/other"}));
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("does not want this node"));
}

TEST_F(LifeCycle, MissesTheTextWhereThereIsTheCatalog) {
  std::filesystem::create_directories(m_dir.file("resources/libtester"));
  EXPECT_EQ(
      runJson(withPlugin("params", {"/data/a"}), 0)["warnings"],
      (Json{"no text for <MSG_keep> in the catalog libtester in " + m_dir.file("resources"),
            "no text for <MSG_mode> in the catalog libtester in " + m_dir.file("resources")}));
}

TEST_F(LifeCycle, TakesKeepsRestoresAndDisposesASnapshot) {
  const Json taken = runJson(withPlugin("snapshot", {"/data/a", "--set", "keep=3"}), 0);
  EXPECT_EQ(operations(taken), kWholeOrder);
  Json row = taken["operations"][0];
  EXPECT_EQ(row.erase("milliseconds"), 1U);
  EXPECT_EQ(row, (Json{{"operation", "init"}, {"node", ""}, {"code", 0}, {"meaning", "success"}}));
  EXPECT_EQ(taken["snapshots"][0]["name"], "snap:/data/a");
  EXPECT_EQ(taken["snapshots"][0]["meaning"], "ready");
  EXPECT_EQ(taken["findings"], Json::array());

  const Json listed = runJson({"list"}, 0)["snapshots"][0];
  EXPECT_EQ(listed["node"], "/data/a");
  EXPECT_EQ(listed["session"], taken["session"]);
  EXPECT_EQ(listed["provider_state"]["bytes"], (Json{'s', 't', 0xff, 0}));
  EXPECT_THAT(listed["values"].get<std::string>(),
              AllOf(HasSubstr("<value>3</value>"), HasSubstr("<value>auto</value>")));

  const Words frame{"init", "initNode",   "config SET", "reAccessTmpObj",
                    "",     "deInitNode", "deInitNode", "fini"};
  for (const char* verb : {"getStatus", "restore", "dispose"}) {
    Words expected = frame;
    expected[4] = verb;
    const std::string name = verb == std::string("getStatus") ? "status" : verb;
    const std::string record = m_dir.file(name);
    const Json answer = runJson({name, "snap:/data/a", "--record", record}, 0);
    EXPECT_THAT(readFile(record), HasSubstr("\nconfig set /data/a keep=3 mode=auto\n"));
    EXPECT_EQ(operations(answer), expected);
    EXPECT_EQ(answer["findings"], Json::array());
  }
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"], Json::array());
  EXPECT_EQ(run({"dispose", "snap:/data/a"}).status, 2);
}

TEST_F(LifeCycle, SendsFileValuesListsAndUnknownKeysOn) {
  const std::string file = m_dir.file("values.xml");
  writeFile(file,
            "<ConfigValueList><ConfigValue><key>keep</key><value>9</value></ConfigValue>"
            "<ConfigValue><key>mode</key><value>copy</value></ConfigValue></ConfigValueList>");
  const CommandResult result =
      run(withPlugin("snapshot", {"/data/a", "/data/b", "--params", file, "--set", "mode=x",
                                  "--set", "mode=y", "--set", "odd=1", "--force"}));
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("node /data/b: the provider describes no parameter odd\n"));
  const Json records = runJson({"list"}, 0)["snapshots"];
  ASSERT_EQ(records.size(), 2u);
  EXPECT_THAT(
      records[1]["values"].get<std::string>(),
      AllOf(HasSubstr("<value>9</value>"), Not(HasSubstr("copy")),
            HasSubstr("<valueList>\n\t<value>x</value>\n\t<value>y</value>\n</valueList>")));
}

TEST_F(LifeCycle, EndsWhatWasBegunAfterAFailureInAnyStep) {
  for (const char* variable : {"TEST_FAIL", "TEST_THROW"}) {
    for (const Words& order :
         {Words{"init", "fini"}, Words{"claim", "fini"}, Words{"initNode", "deInitNode", "fini"},
          Words{"quiesce", "unquiesce", "deInitNode", "fini"},
          Words{"prePrepare", "unquiesce", "deInitNode", "fini"},
          Words{"prepare", "unquiesce", "deInitNode", "fini"},
          Words{"make", "unquiesce", "deInitNode", "fini"}}) {
      const std::string& failing = order.front();
      const ScopedEnv env(variable, failing.c_str());
      const Json answer = runJson(withPlugin("snapshot", {"/data/a"}), 1);
      Words expected(kWholeOrder.begin(),
                     std::find(kWholeOrder.begin(), kWholeOrder.end(), failing));
      expected.insert(expected.end(), order.begin(), order.end());
      EXPECT_EQ(operations(answer), expected) << variable << " " << failing;
      EXPECT_EQ(answer["failures"].size(), 1u);
      EXPECT_EQ(answer["findings"], Json::array());
      EXPECT_EQ(runJson({"list"}, 0)["snapshots"], Json::array());
    }
  }
}

TEST_F(LifeCycle, HoldsASignalUntilWritersGoOnWithTheirSnapshotsListed) {
  const rlimit noCore{};
  setrlimit(RLIMIT_CORE, &noCore);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGALRM, SIGXCPU}) {
    for (const auto& [operation, kept] : {std::pair("prepare", 0U), std::pair("make", 1U)}) {
      SCOPED_TRACE(std::string(strsignal(number)) + " in " + operation);
      const ScopedEnv env("TEST_INTERRUPT", operation);
      const ScopedEnv signals("TEST_SIGNALS", std::to_string(number).c_str());
      const Json answer = runJson(withPlugin("snapshot", {"/data/a"}), 128 + number);
      const Words called = operations(answer);
      EXPECT_THAT(called, testing::IsSupersetOf({"unquiesce", "deInitNode", "fini"}));
      EXPECT_EQ(answer.value("error", ""),
                kept == 1 ? "" : "interrupted before make; no snapshot was taken");
      const Json list = runJson({"list"}, 0);
      EXPECT_EQ(list["snapshots"].size(), kept);
      EXPECT_EQ(list["unsettled"], Json::array());
    }
    run({"dispose", kSnapshot});
  }
}

TEST_F(LifeCycle, EndsWithItsDocumentByASignalThatIsNotHeld) {
  const std::tuple<const char*, const char*, int, Words> cases[] = {
      {"initNode", "15", SIGTERM, {"init", "claim"}},
      {"prepare", "2 10", SIGUSR1, Words(kWholeOrder.begin(), kWholeOrder.begin() + 9)},
      {"prepare", "1 1", SIGHUP, Words(kWholeOrder.begin(), kWholeOrder.begin() + 9)},
      {"prepare", "15 15", SIGTERM, Words(kWholeOrder.begin(), kWholeOrder.begin() + 9)},
      {"isReady", "15", SIGTERM, Words(kWholeOrder.begin(), kWholeOrder.begin() + 13)},
  };
  for (const auto& [operation, numbers, last, called] : cases) {
    SCOPED_TRACE(std::string(numbers) + " in " + operation);
    const ScopedEnv env("TEST_INTERRUPT", operation);
    const ScopedEnv signals("TEST_SIGNALS", numbers);
    const Json answer = runJson(withPlugin("snapshot", {"/data/a"}), 128 + last);
    EXPECT_EQ(answer["failures"][0]["operation"], operation);
    EXPECT_EQ(operations(answer), called);
  }
}

TEST_F(LifeCycle, FailureLineSaysWhoWhatWhereWhyAndWhatChanged) {
  const Words snapshot = withPlugin("snapshot", {"/data/a"});
  runJson(snapshot, 0);
  const std::tuple<const char*, Words, std::string> cases[] = {
      {"initNode", snapshot, "nothing was called that changes data"},
      {"prepare", snapshot, "whether it left anything behind is not known"},
      {"make", snapshot,
       "no snapshot was handed out; whether a snapshot was taken that was not handed out is not "
       "known"},
      {"restore", {"restore", kSnapshot}, "whether the node's content has changed is not known"},
      {"dispose",
       {"dispose", kSnapshot},
       "whether the snapshot is still there is not known, and it stays in the list"},
  };
  for (const auto& [operation, words, changed] : cases) {
    const std::pair<const char*, std::string> reasons[] = {
        {"TEST_FAIL", "26 (file cannot be opened); last error: <MSG_BROKEN>; "},
        {"TEST_THROW", std::string("raised std::runtime_error: thrown in ") + operation + "; "}};
    for (const auto& [variable, reason] : reasons) {
      const ScopedEnv env(variable, operation);
      const std::string catalog = "fihost: no catalog libtester in " + m_dir.str() + "/resources\n";
      EXPECT_EQ(run(words).err, std::string("fihost: provider tester, operation ") + operation +
                                    ", node /data/a: " + reason + changed + "\n" +
                                    (variable == std::string("TEST_FAIL") ? catalog : ""));
    }
  }
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"].size(), 1u);
}

TEST_F(LifeCycle, NamesEveryBufferAndIdThatWasNotGivenBackRight) {
  const ScopedEnv env("TEST_LEAK", "1");
  const std::string in = ", in make, node /data/a";
  const Words snapshot = withPlugin("snapshot", {"/data/a"});
  EXPECT_EQ(runJson(snapshot, 1)["findings"],
            (Json{"a buffer of 8 bytes was given back as one of 9 bytes" + in,
                  "a buffer of 24 bytes was not given back" + in,
                  "the object id \"lost\" was not given back" + in}));
  Words lenient{"--lenient"};
  lenient.insert(lenient.end(), snapshot.begin(), snapshot.end());
  runJson(lenient, 0);
}

TEST_F(LifeCycle, LosesNoSnapshotWhenNobodyReadsItsOutput) {
  const std::string host = FIHOST_PROGRAM " --state '" + m_dir.file("state") +
                           "' snapshot --plugin '" + plugin("provider") + "' ";
  const CommandResult result =
      runCommand({"sh", "-c", "for i in 1 2; do " + host + "/data/$i | true & done; wait"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"].size(), 2u);
}

}  // namespace
