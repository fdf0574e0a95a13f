#include <cfioperationtable.h>
#include <cfitypes.h>

#include <regex>
#include <set>

#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;

class Session : public Host {
 protected:
  static bool isWithoutSamples() { return std::string(FILESNAP_PLUGIN).empty(); }

  // Writes a session file and performs it.
  Json play(const std::string& text, int exit, const std::string& provider = "provider") {
    writeFile(m_file, text);
    return runJson({"run", m_file, "--plugin", plugin(provider)}, exit);
  }

  // Where something was not as expected, and what.
  static Words misses(const Json& answer) {
    Words all;
    for (const Json& failure : answer.value("failures", Json::array())) {
      const std::string place = failure["place"];
      all.push_back(place.substr(place.rfind('/') + 1) + " " +
                    failure["reason"].get<std::string>());
    }
    return all;
  }

  // The lines of a session file that call operations.
  static std::string calls(const std::string& text) {
    return std::regex_replace(text, std::regex("(#|expect|plugin|session).*\n"), "");
  }

  std::string m_file = m_dir.file("s");
};

TEST_F(Session, ARecordedSnapshotIsPlayedOnAFreshFolder) {
  if (isWithoutSamples()) GTEST_SKIP() << "needs filesnap";
  for (const char* folder : {"a", "b"}) {
    std::filesystem::create_directory(m_dir.path() / folder);
    writeFile(m_dir.file(folder) + "/db", "content");
  }
  const CommandResult taken = runIn(
      "a", {"--record", m_file, "snapshot", "--plugin", FILESNAP_PLUGIN, "db", "--set", "keep=3"});
  ASSERT_EQ(taken.status, 0) << taken.err;
  const CommandResult played = runIn("b", {"run", m_file});
  EXPECT_EQ(played.status, 0) << played.err;
  EXPECT_THAT(played.out,
              HasSubstr(m_file + "  17 operations, 21 expectations, all as expected\n"));

  std::string text = readFile(m_file);
  const std::size_t place = text.find("status ready");
  const auto line =
      std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(place), '\n') + 1;
  text.replace(place, 12, "status absent");
  writeFile(m_file, text);
  const CommandResult red = runIn("b", {"run", m_file});
  EXPECT_EQ(red.status, 1);
  EXPECT_EQ(red.err, "fihost: " + m_file + ":" + std::to_string(line) + ": getStatus " +
                         m_dir.file("b") +
                         "/db: expected status absent, got ready; it answered success\n");
}

TEST_F(Session, StatusLetsTheProviderReadWholeSnapshotsWhenItIsTold) {
  if (isWithoutSamples()) GTEST_SKIP() << "needs filesnap";
  writeFile(m_dir.file("db"), "content");
  runJson({"snapshot", "--plugin", FILESNAP_PLUGIN, m_dir.file("db"), "--set", "keep=3"}, 0);
  runJson({"status", "--deep", "--record", m_file}, 0);
  EXPECT_THAT(readFile(m_file), ContainsRegex("\nconfig set [^\n]* deep=true keep=3 [^\n]*\n"
                                              "expect 0\nreAccessTmpObj "));
}

TEST_F(Session, StatusReadsNothingWholeWhereTheProviderCannot) {
  runJson(withPlugin("snapshot", {"/data/a"}), 0);
  EXPECT_EQ(runJson({"status", "--deep"}, 1)["failures"][0]["reason"],
            "the provider has no parameter deep");
}

TEST_F(Session, EveryOperationOfTheTableIsReached) {
  const Json answer =
      play(readFile(FIHOST_TEST_SESSIONS "/every_operation.session"), 0, "answering");
  EXPECT_EQ(misses(answer), Words{});
  EXPECT_EQ(answer["findings"], Json::array());
  std::set<std::string> reached;
  for (const std::string& name : operations(answer)) reached.insert(name.substr(0, name.find(' ')));
  std::set<std::string> all(orca_pdk::kProviderOperations.begin() + 2,
                            orca_pdk::kProviderOperations.end());
  // The host asks for these itself, to explain what happened.
  for (const char* name :
       {"getLastError", "delLastError", "getLocaleMessage", "delLocaleMessage"}) {
    all.erase(name);
  }
  EXPECT_EQ(reached, all);
}

TEST_F(Session, EveryOperationIsRecordedAsItWasCalled) {
  std::string text = readFile(FIHOST_TEST_SESSIONS "/every_operation.session");
  writeFile(m_file, text);
  run({"run", m_file, "--plugin", plugin("answering"), "--record", m_dir.file("record")});
  text.replace(text.find("0x10"), 4, "16");
  EXPECT_EQ(calls(readFile(m_dir.file("record"))), calls(text));
}

TEST_F(Session, EveryExpectationThatIsNotMetIsNamedByItsLine) {
  const ScopedEnv fail("TEST_FAIL", "quiesce");
  const ScopedEnv raise("TEST_THROW", "prePrepare");
  const ScopedEnv status("TEST_STATUS", "getStatus=1");
  const std::pair<const char*, const char*> cases[] = {
      {"quiesce /data/a",
       "s:1 quiesce /data/a: expected that it does its work, but it answered 26 (file cannot be "
       "opened), message MSG_BROKEN"},
      {"quiesce /data/a\nexpect 4",
       "s:2 quiesce /data/a: expected 4, but it answered 26 (file cannot be opened), message "
       "MSG_BROKEN"},
      {"quiesce /data/a\nexpect 26\nexpect message MSG_X",
       "s:3 quiesce /data/a: expected message MSG_X, got MSG_BROKEN; it answered 26 (file cannot "
       "be opened), message MSG_BROKEN"},
      {"init\nexpect message MSG_X",
       "s:2 init: expected message MSG_X, got \"\"; it answered success"},
      {"init\nexpect raised", "s:2 init: expected raised, but it answered success"},
      {"prePrepare /data/a",
       "s:1 prePrepare /data/a: expected that it does its work, but it answered raised "
       "std::runtime_error: thrown in prePrepare"},
      {"prePrepare /data/a\nexpect raised other",
       "s:2 prePrepare /data/a: expected raised other, but it answered raised std::runtime_error: "
       "thrown in prePrepare"},
      {"unquiesce /data/a\nexpect 0", "s:2 unquiesce /data/a: expected 0, but it answered done"},
      {"make /data/a\nexpect count snapshots 2",
       "s:2 make /data/a: expected count snapshots 2, got 1; it answered success"},
      {"make /data/a\nexpect snapshots $snapshot2",
       "s:2 make /data/a: expected snapshots \"$snapshot2\", but only 1 snapshots were handed out "
       "before"},
      {"getStatus /data/a x\nexpect status ready",
       "s:2 getStatus /data/a: expected status ready, got damaged; it answered success"},
      {"claim /data/a\nexpect secondaries",
       "s:2 claim /data/a: expected secondaries, got second; it answered claimed"},
      {"init\nexpect color red", "s:2 init: expected color red, but init gives no color"},
      {"dispose /data/a $snapshot1",
       "s:1 dispose was not called: only 0 snapshots were handed out before"},
  };
  for (const auto& [text, miss] : cases) EXPECT_EQ(misses(play(text, 1)), Words{miss});
}

TEST_F(Session, AnAnswerWhoseCountCannotBeSoIsRefused) {
  const std::pair<const char*, const char*> calls[] = {
      {"claim n", "secondary nodes"},     {"queryValidSecondaries n", "secondary nodes"},
      {"interpose n", "groups"},          {"format r", "resources"},
      {"make n m o", "snapshots"},        {"enumerateEnclosures", "listed"},
      {"processProviderState n", "state"}};
  struct {
    const char* lie;
    const char *ofArray, *ofList, *ofState;
  } const cases[] = {
      {"-1 2 2", "-1 *", "-1", "18446744073709551615 bytes in a buffer of 2"},
      {"3 2 2", "3 * in an array that has room for 2", "3, but handed out no list",
       "3 bytes in a buffer of 2"},
      {"3 -1 0", "3 *, but no array of them", "3, but handed out no list",
       "3 bytes, but no buffer"},
      {"3 3 1", "3 *, but number 2 is null", "3, but handed out no list",
       "3 bytes in a buffer of 2"},
  };
  for (const auto& [lie, ofArray, ofList, ofState] : cases) {
    SCOPED_TRACE(lie);
    const ScopedEnv env("TEST_LIE", lie);
    Words expected;
    std::string text;
    for (const auto& [call, what] : calls) {
      text += std::string(call) + "\nexpect 0\n";
      std::string told = "handed out " + std::string(ofArray);
      if (told.find('*') != told.npos) told.replace(told.find('*'), 1, what);
      if (what == std::string("listed")) told = "listed " + std::string(ofList);
      if (what == std::string("state")) told = "handed out a state of " + std::string(ofState);
      std::string nodes = call;
      if (nodes == "make n m o") nodes = "make n, m, o";
      expected.push_back("s:" + std::to_string(2 * expected.size() + 1) + " " + nodes +
                         ": expected an answer to believe, but it says that it " + told);
    }
    EXPECT_EQ(misses(play(text, 1, "answering")), expected);
    EXPECT_THAT(run({"probe", "--plugin", plugin("answering"), "n"}).err,
                HasSubstr("operation claim, node n: not claimed; it says that it handed out " +
                          std::string(lie, std::string(lie).find(' ')) + " secondary nodes"));
  }
}

TEST_F(Session, WhatIsExpectedIsNoFailure) {
  const ScopedEnv fail("TEST_FAIL", "quiesce");
  const ScopedEnv raise("TEST_THROW", "make");
  const Json answer = play(
      "quiesce /data/a\nexpect 26\nexpect message MSG_BROKEN\n"
      "make /data/a\nexpect raised \"std::runtime_error: thrown in make\"\n",
      0);
  EXPECT_EQ(misses(answer), Words{});
  EXPECT_EQ(answer["expectations"], 3);
}

TEST_F(Session, AFileThatIsNotUnderstoodDoesNothing) {
  const std::pair<const char*, const char*> cases[] = {
      {"init\n\nfoo a", "s:3: \"foo\" is no operation"},
      {"claim \"a", "s:1: a quote is not closed"},
      {"claim \"\\q\"", "s:1: a backslash in quotes is followed by none of \" \\ n t r xNN"},
      {"claim", "s:1: claim needs more: @node"},
      {"claim a b", "s:1: \"b\" is too much"},
      {"getStatus a b c", "s:1: getStatus takes pairs: @sources/snapshots..."},
      {"errMsg five", "s:1: \"five\" is no number"},
      {"online a b flags=0xg", "s:1: \"0xg\" is no number"},
      {"claim $node", "s:1: \"$node\" means nothing; quote it where it is meant as it stands"},
      {"expect 4", "s:1: expect stands before any operation"},
      {"init\nexpect", "s:2: expect needs to know what"},
      {"plugin", "s:1: plugin takes one word"},
  };
  for (const auto& [text, error] : cases) {
    const Json answer = play(text, 2);
    EXPECT_THAT(answer["error"].get<std::string>(), EndsWith(std::string("/") + error));
    EXPECT_FALSE(answer.contains("operations")) << text;
  }
}

TEST_F(Session, NamesAreRecordedSoThatAllOfThemIsSeenAndReadBack) {
  const std::pair<const char*, const char*> cases[] = {
      {"/data/a b", R"("/data/a b")"},   {"/data/\"\\\n", R"("/data/\"\\\n")"},
      {"/data/#=x", R"("/data/#=x")"},   {"/data/\u202e", R"("/data/\xe2\x80\xae")"},
      {"/data/\xff", R"("/data/\xff")"}, {"/data/\u00fc#", "/data/\u00fc#"},
      {"$/data/", R"("$/data/")"},       {"flags=/data/", R"("flags=/data/")"},
  };
  for (const auto& [name, word] : cases) {
    EXPECT_EQ(run(Words{"--record", m_file, "probe", "--plugin", plugin("provider"), name}).status,
              0);
    EXPECT_THAT(readFile(m_file),
                EndsWith(std::string("\nclaim ") + word +
                         "\nexpect 1\nexpect secondaries second\nfini\nexpect done\n"));
    EXPECT_EQ(run({"run", m_file}).status, 0);
    std::filesystem::remove(m_file);
  }
}

TEST_F(Session, ValuesAreRecordedAsSettings) {
  run(withPlugin("snapshot", {"/data/a", "--set", "keep=3", "--set", "mode=x y", "--set",
                              "mode=\"z", "--set", "odd=", "--force", "--record", m_file}));
  EXPECT_THAT(readFile(m_file),
              HasSubstr("\nconfig set /data/a keep=3 mode=\"x y\" mode=\"\\\"z\" odd=\"\"\n"));
}

TEST_F(Session, WhatIsNotReadyYetIsAskedAgain) {
  {
    const ScopedEnv env("TEST_READY_AT", "3");
    run(withPlugin("snapshot", {"/data/a", "--record", m_file}));
  }
  const ScopedEnv env("TEST_READY_AT", "6");
  const Words names = operations(runJson({"run", m_file}, 0));
  EXPECT_EQ(std::count(names.begin(), names.end(), "isReady"), 6);
}

TEST_F(Session, ARecordEndsWithTheOperationThatNeverDid) {
  const ScopedEnv env("TEST_CRASH", "make");
  EXPECT_EQ(run(withPlugin("snapshot", {"/data/a", "--record", m_file})).status, 1);
  EXPECT_THAT(readFile(m_file), EndsWith("\nmake /data/a\n"));
  EXPECT_EQ(runJson({"run", m_file}, 1)["failures"][0]["operation"], "make");
}

TEST_F(Session, NoFileIsOverwrittenByARecord) {
  writeFile(m_file, "mine");
  EXPECT_EQ(run(withPlugin("probe", {"--record", m_file})).err,
            "fihost: cannot make " + m_file + ": File exists\n");
  EXPECT_EQ(readFile(m_file), "mine");
}

TEST_F(Session, ARecordThatIsNotWholeIsAFailure) {
  const CommandResult result =
      runCommand({"sh", "-c", "trap '' XFSZ; ulimit -f 1; exec \"$@\" >/dev/null", "sh",
                  FIHOST_PROGRAM, "probe", "--plugin", plugin("provider"), "--record", m_file,
                  "/data/" + std::string(2000, 'a')});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr(m_file + " is not whole: File too large\n"));
}

TEST_F(Session, TraceShowsArgumentsBeforeACallAndOutputsAfterIt) {
  const std::string err = run(withPlugin("probe", {"--trace", "/data/a b"})).err;
  EXPECT_THAT(err, ContainsRegex("> claim node=\"/data/a b\"\n"
                                 "< claim  claimed  [0-9.]+ ms  secondaries=\\[\"second\"\\]\n"));
  const ScopedEnv env("TEST_CRASH", "claim");
  EXPECT_THAT(run(withPlugin("probe", {"--trace", "/data/a"})).err,
              HasSubstr("> claim node=\"/data/a\"\nfihost: provider tester, operation claim"));
}

TEST_F(Session, AFileIsReadFromStandardInput) {
  const CommandResult result =
      runCommand({"sh", "-c", "printf 'plugin %s\\ninit\\nexpect 4\\n' \"$2\" | \"$1\" run -", "sh",
                  FIHOST_PROGRAM, plugin("provider")});
  EXPECT_THAT(result.err,
              HasSubstr("fihost: standard input:3: init: expected 4, but it answered success\n"));
  EXPECT_EQ(result.status, 1);
}

}  // namespace
