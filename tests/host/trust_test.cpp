#include <sys/stat.h>
#include <unistd.h>

#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::ContainsRegex;
using testing::HasSubstr;

// The host says what it knows, whatever a provider or a user makes of it.
class Trust : public Host {};

TEST_F(Trust, KeepsTheWholePathOfANodeWhereverItIsAskedFrom) {
  for (const char* folder : {"x", "y"}) writeFile(m_dir.path() / folder / "data/a", folder);
  const CommandResult taken = runIn("x", withPlugin("snapshot", {"data/./a"}));
  ASSERT_EQ(taken.status, 0) << taken.err;
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"][0]["node"], m_dir.file("x/data/a"));
  EXPECT_THAT(runIn("y", {"restore", "snap:" + m_dir.file("x/data/a")}).out,
              HasSubstr("restored " + m_dir.file("x/data/a")));
  const CommandResult twice = runIn("x", withPlugin("snapshot", {"data/a", "../x/data/../data/a"}));
  EXPECT_EQ(twice.status, 2);
  EXPECT_THAT(twice.err, HasSubstr(m_dir.file("x/data/a") + "\" given twice"));
}

// Each way needs a thing of another user's, which only root can make.
TEST_F(Trust, LoadsNoPluginThatAnotherUserCouldChange) {
  writeFile(m_dir.file("mine"), "");
  if (chown(m_dir.file("mine").c_str(), 1234, 0) != 0) GTEST_SKIP() << "needs root, to give away";
  namespace fs = std::filesystem;
  const std::tuple<const char*, const char*, uid_t, mode_t, const char*> cases[] = {
      {"sticky/own/p.so", "sticky/own/p.so", 1234, 0755, "belongs to user 1234"},
      {"sticky/own/p.so", "sticky/own/p.so", 0, 0775, "(mode 0775)"},
      {"sticky/own/p.so", "sticky/own", 0, 0777, "(mode 0777)"},
      {"sticky/own/p.so", "sticky/own", 1234, 0755, "belongs to user 1234"},
      {"sticky/own/p.so", "sticky", 0, 0777, "(mode 0777)"},
      {"link.so", "link.so", 1234, 0, "belongs to user 1234"},
      {"sticky/link.so", "", 0, 0, "(mode 1777)"},
      {"sticky/p.so", "", 0, 0, "(mode 1777)"},
  };
  for (const auto& [asked, changed, owner, mode, reason] : cases) {
    SCOPED_TRACE(std::string(asked) + ": " + reason);
    const TempDir dir;
    fs::create_directories(dir.path() / "sticky/own");
    fs::copy_file(plugin("provider"), dir.path() / "sticky/own/p.so");
    fs::copy_file(plugin("provider"), dir.path() / "sticky/p.so");
    for (const char* link : {"link.so", "sticky/link.so"}) {
      fs::create_symlink(dir.path() / "sticky/own/p.so", dir.path() / link);
    }
    ASSERT_EQ(chmod(dir.file("sticky").c_str(), 01777), 0);
    EXPECT_EQ(run({"probe", "--plugin", dir.file("sticky/own/p.so")}).status, 0);
    EXPECT_EQ(run({"probe", "--plugin", dir.file("link.so")}).status, 0);
    ASSERT_EQ(lchown(dir.file(changed).c_str(), owner, 0), 0);
    EXPECT_EQ(mode == 0 ? 0 : chmod(dir.file(changed).c_str(), mode), 0);
    const CommandResult result = run({"probe", "--plugin", dir.file(asked)});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.err, HasSubstr("plug-in: " + dir.file(asked) + " is not trusted: "));
    EXPECT_THAT(result.err, HasSubstr(reason));
  }
}

TEST_F(Trust, LooksForABareNameInThePluginFolderAlone) {
  const ScopedEnv env("ORCA_PLUGIN_DIR", m_dir.str().c_str());
  const CommandResult result = runIn(FIHOST_TEST_PLUGINS, {"probe", "--plugin", "provider.so"});
  EXPECT_THAT(result.err, HasSubstr("no plug-in \"provider.so\" in " + m_dir.str()));
}

TEST_F(Trust, LeavesAFileAloneWhoseNameTheStateKeepsWithoutItsFolder) {
  runJson(withPlugin("snapshot", {"/data/a"}), 0);
  std::string state = Json{{"version", 1}, {"snapshots", runJson({"list"}, 0)["snapshots"]}}.dump();
  for (std::size_t at; (at = state.find("/data/a")) != std::string::npos;) {
    state.replace(at, 7, "relative");
  }
  writeFile(m_dir.file("state/state.json"), state);
  writeFile(m_dir.file("relative"), "");
  const CommandResult result = runIn("", {"restore", "snap:relative"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr("in a folder that is not known; here that is another file"));
}

TEST_F(Trust, SendsNoValueThatDoesNotFitItsDescription) {
  const std::pair<const char*, const char*> cases[] = {
      {"odd=1", "the provider describes no parameter odd"},
      {"keep=0", "parameter keep cannot be \"0\"; it is of type int, allowed: 1-64"},
      {"keep=65", "allowed: 1-64"},
      {"keep=3x", "parameter keep cannot be \"3x\""},
      {"mode=fast", "it is of type string_list, allowed: auto, copy"},
  };
  for (const auto& [setting, sentence] : cases) {
    SCOPED_TRACE(setting);
    const Json answer = runJson(withPlugin("snapshot", {"/data/a", "--set", setting}), 2);
    EXPECT_THAT(answer["error"].get<std::string>(), HasSubstr(sentence));
    EXPECT_EQ(operations(answer), (Words{"init", "claim", "initNode", "supportsFiType",
                                         "config GETPARAM", "deInitNode", "fini"}));
  }
}

TEST_F(Trust, FailsForEachSnapshotWhoseStatusIsNotGood) {
  const Words snapshot = withPlugin("snapshot", {"/data/a", "/data/b"});
  runJson(snapshot, 0);
  const std::tuple<Words, const char*, const char*> cases[] = {
      {snapshot, "getStatus=0", "snap:/data/b of /data/b: absent"},
      {{"status"}, "getStatus=1", "snap:/data/b of /data/b: damaged"},
      {{"status"}, "getStatus=77", "snap:/data/b of /data/b: 77"},
      {{"status", "snap:/data/b"}, "getStatus=-1", "snap:/data/b of /data/b: not told"},
      {{"restore", "snap:/data/b"}, "restore=1", "snap:/data/b of /data/b: not restored"},
  };
  for (const auto& [words, status, sentence] : cases) {
    SCOPED_TRACE(status);
    const ScopedEnv env("TEST_STATUS", status);
    const Json answer = runJson(words, 1);
    EXPECT_EQ(answer["failures"].back()["reason"], std::string("snapshot ") + sentence);
    EXPECT_FALSE(answer.contains("restored"));
  }
}

TEST_F(Trust, MarksTheAnswersOfDefaults) {
  const CommandResult result = run(withPlugin("access", {"disable", "/data/a"}));
  EXPECT_THAT(result.out, ContainsRegex("disableAccess .* ms  success \\(default\\)  /data/a\n"));
  EXPECT_THAT(result.out, ContainsRegex("initNode .* ms  success  /data/a\n"));
}

TEST_F(Trust, KeepsAndNamesTheSnapshotsThatAFailedMakeHandedOut) {
  const ScopedEnv early("TEST_EARLY", "1");
  const ScopedEnv env("TEST_FAIL", "make");
  const Json answer = runJson(withPlugin("snapshot", {"/data/a", "/data/b"}), 1);
  EXPECT_EQ(answer["failures"][0]["changed"],
            "handed out: snap:/data/a, snap:/data/b; whether a snapshot was taken that was not "
            "handed out is not known");
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"].size(), 2u);
}

TEST_F(Trust, ReadsNoMoreIdsThanItAskedFor) {
  const ScopedEnv env("TEST_MANY", "1");
  const Json answer = runJson(withPlugin("snapshot", {"/data/a", "/data/b"}), 1);
  EXPECT_EQ(answer["failures"][0]["reason"],
            "it says that it handed out 1073741824 snapshots of 2 nodes");
  EXPECT_EQ(answer["findings"], Json::array());
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"].size(), 2u);
}

TEST_F(Trust, QuotesNoErrorThatStoodThereBeforeTheCall) {
  const ScopedEnv stale("TEST_STALE", "1");
  const ScopedEnv env("TEST_THROW", "prepare");
  EXPECT_EQ(runJson(withPlugin("snapshot", {"/data/a"}), 1)["failures"][0]["last_error"], "");
}

TEST_F(Trust, NamesTheOperationThatDoesNotComeBack) {
  const std::tuple<const char*, const char*, Words> cases[] = {
      {"TEST_CRASH", "crashed by signal 11 (Segmentation fault)", {}},
      {"TEST_ABORT", "crashed by signal 6 (Aborted)", {}},
      {"TEST_EXIT", "ended the process by exit", {}},
      {"TEST_UNDERSCORE_EXIT", "ended the process by exit", {}},
      {"TEST_TERMINATE", "raised std::runtime_error: never caught; it cannot be caught", {}},
      {"TEST_HANG", "did not come back within the time-out", {"--timeout", "1"}},
  };
  for (auto [variable, reason, words] : cases) {
    SCOPED_TRACE(variable);
    const ScopedEnv env(variable, "unquiesce");
    words.insert(words.begin(), {"--json"});
    for (const std::string& word : withPlugin("snapshot", {"/data/a"})) words.push_back(word);
    const CommandResult result = run(words);
    EXPECT_EQ(result.status, 1);
    const std::string changed = "handed out: snap:/data/a; what it did until then is not known";
    EXPECT_THAT(result.err,
                HasSubstr("fihost: provider tester, operation unquiesce, node /data/a: " +
                          std::string(reason) + "; " + changed + "\n"));
    const Json answer = Json::parse(result.out, nullptr, false);
    EXPECT_EQ(answer.value("failures", Json()), (Json{{{"operation", "unquiesce"},
                                                       {"node", "/data/a"},
                                                       {"provider", "tester"},
                                                       {"reason", reason},
                                                       {"changed", changed}}}));
    EXPECT_EQ(answer.value("exit", 0), 1);
  }
}

TEST_F(Trust, AsksAgainUntilSnapshotsAreReady) {
  const ScopedEnv env("TEST_READY_AT", "3");
  const Words names = operations(runJson(withPlugin("snapshot", {"/data/a"}), 0));
  EXPECT_EQ(std::count(names.begin(), names.end(), "isReady"), 3);
}

TEST_F(Trust, WaitsForReadySnapshotsAsLongAsItIsTold) {
  const ScopedEnv env("TEST_READY_AT", "-1");
  const Json answer = runJson(withPlugin("snapshot", {"/data/a", "--timeout", "1"}), 1);
  EXPECT_EQ(answer["failures"][0]["reason"], "not ready within 1 seconds");
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"].size(), 1u);
}

TEST_F(Trust, IsNotDoneWhenItsAnswerCannotBePrinted) {
  for (const char* words : {"--version", "list", "--json list", "probe --plugin $1 /data/a"}) {
    const CommandResult result =
        runCommand({"sh", "-c", std::string("exec $0 --state $2 ") + words + " >/dev/full",
                    FIHOST_PROGRAM, plugin("provider"), m_dir.file("state")});
    EXPECT_EQ(result.status, 1) << words << result.err;
  }
}

TEST_F(Trust, ShowsWhatOthersCannotSeeInNamesAsDigits) {
  const std::pair<const char*, const char*> cases[] = {
      {"\x1b[31m", "\\x1b[31m"},
      {"\u009b1m", "\\xc2\\x9b1m"},
      {"\u202egpj", "\\xe2\\x80\\xaegpj"},
      {"\u2066x", "\\xe2\\x81\\xa6x"},
      {"\xff\xc3(", "\\xff\\xc3("},
      {"\xf0\x9f\x98\x80 gr\u00fc\u00df", "\xf0\x9f\x98\x80 gr\u00fc\u00df"},
  };
  for (const auto& [name, shown] : cases) {
    const CommandResult claimed = run(withPlugin("probe", {std::string("/data/") + name}));
    EXPECT_THAT(claimed.out, HasSubstr(std::string("node /data/") + shown + "  claimed\n"));
    const ScopedEnv env("TEST_CRASH", "claim");
    const CommandResult crashed = run(withPlugin("probe", {std::string("/data/") + name}));
    EXPECT_THAT(crashed.err, HasSubstr(std::string("node /data/") + shown + ": crashed"));
  }
}

TEST_F(Trust, ShowsAnOperationOnATerminalWhileItRuns) {
  const ScopedEnv env("TEST_CRASH", "prepare");
  const CommandResult result =
      runCommand({"script", "-qec",
                  FIHOST_PROGRAM " --state " + m_dir.file("state") + " snapshot --plugin " +
                      plugin("provider") + " /data/a",
                  "/dev/null"});
  EXPECT_THAT(result.out, HasSubstr("prepare ...  /data/a"));
}

}  // namespace
