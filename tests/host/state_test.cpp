#include "state/statestore.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "cli/exitstatus.h"
#include "host_fixture.h"
#include "support/private_usr.h"
#include "verbs/taking.h"

// Nobody waits for real.
static long g_pauses = 0;
extern "C" int nanosleep(const timespec*, timespec*) {
  ++g_pauses;
  return 0;
}

namespace {

using namespace orca_tests;
using fihost::Database;
using fihost::StateStore;
using testing::HasSubstr;
namespace fs = std::filesystem;

// What fihost keeps, and in which files.
class State : public Host {
 protected:
  static fihost::SnapshotRecord record(const std::string& name) {
    return {name, "/data/a", "s", "tester", plugin("provider"), "t", "", std::string("\xff\0", 2)};
  }

  // The list as a file of hosts before.
  static std::string oldList(const Words& names) {
    nlohmann::ordered_json list{{"version", 1}, {"snapshots", nlohmann::ordered_json::array()}};
    for (const std::string& name : names) list["snapshots"].push_back(record(name).toJson());
    return list.dump();
  }

  // Until the end of the process, or umount.
  void mountSmallDisk() {
    fs::create_directory(m_folder);
    ASSERT_EQ(mount("tmpfs", m_folder.c_str(), "tmpfs", 0, "size=128k,mode=700"), 0);
  }

  Words names() {
    Words names;
    const Json answer = runJson({"list"}, 0);
    for (const Json& row : answer["snapshots"]) names.push_back(row["name"]);
    return names;
  }

  static std::string mode(const std::string& path) {
    std::ostringstream text;
    text << std::oct << static_cast<unsigned>(fs::status(path).permissions());
    return text.str();
  }

  std::string m_folder = m_dir.file("state");
  std::string m_file = m_folder + "/state.db";
};

TEST_F(State, IsTheCallersAloneWhateverTheUmask) {
  for (const char* mask : {"0", "777"}) {
    const std::string folder = m_dir.file(std::string("made/by") + mask);
    const CommandResult result = runCommand(
        {"sh", "-c", std::string("umask ") + mask + "; exec \"$@\"", "sh", FIHOST_PROGRAM,
         "--state", folder, "snapshot", "--plugin", plugin("provider"), "/data/a"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(mode(m_dir.file("made")), "700");
    EXPECT_EQ(mode(folder), "700");
    EXPECT_EQ(mode(folder + "/state.db"), "600");
  }
}

TEST_F(State, TakesTheListOfHostsBeforeOverOnce) {
  const std::string list = oldList({"b", "a"});
  writeFile(m_folder + "/state.json", list);
  writeFile(m_folder + "/state.json.A1b2C3", "left by a kill");
  EXPECT_EQ(names(), (Words{"b", "a"}));
  EXPECT_EQ(names(), (Words{"b", "a"}));
  EXPECT_EQ(StateStore(m_folder).named("a").at(0).toJson(), record("a").toJson());
  EXPECT_EQ(readFile(m_folder + "/state.json.taken-over"), list);
  Words left;
  for (const auto& entry : fs::directory_iterator(m_folder)) {
    left.push_back(entry.path().filename());
  }
  EXPECT_THAT(left, testing::UnorderedElementsAre("state.db", "state.json.taken-over"));
}

TEST_F(State, LosesNothingWhenEightHostsStartAtOnce) {
  writeFile(m_folder + "/state.json", oldList({"old"}));
  const std::string host =
      FIHOST_PROGRAM " --state '" + m_folder + "' snapshot --plugin '" + plugin("provider") + "' ";
  const CommandResult result = runCommand(
      {"sh", "-c", "for i in 1 2 3 4 5 6 7 8; do " + host + "/data/$i >/dev/null & done; wait"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(names().size(), 9U);
}

TEST_F(State, KeepsWhatItCannotReadAsItIs) {
  for (const char* name : {"state.json", "state.db"}) {
    const std::string file = m_folder + "/" + name;
    fs::remove_all(m_folder);
    writeFile(file, "{\"version\": 1, \"snap");
    for (const Words& words : {Words{"list"}, withPlugin("snapshot", {"/data/a"})}) {
      const CommandResult result = run(words);
      EXPECT_EQ(result.status, 2);
      EXPECT_THAT(result.err, HasSubstr(file + " is damaged: "));
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(readFile(file), "{\"version\": 1, \"snap");
    }
    fs::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_THAT(run({"list"}).err, HasSubstr(file + ": it is no regular file"));
  }
}

TEST_F(State, CallsNoProviderWhenItCannotBeWritten) {
  if (!isUsrPrivate()) GTEST_SKIP() << "needs a mount namespace";
  mountSmallDisk();
  run(withPlugin("snapshot", {"/data/a"}));
  std::ofstream filler(m_folder + "/filler");
  while (filler.put('x').flush()) {
  }
  const auto refused = [&](const Words& words, const std::string& reason) {
    const Json answer = runJson(words, 2);
    EXPECT_THAT(answer["error"].get<std::string>(), testing::ContainsRegex(m_file + ": " + reason));
    EXPECT_FALSE(answer.contains("operations")) << answer;
  };
  for (const Words& words :
       {withPlugin("snapshot", {"/data/b"}), Words{"dispose", "snap:/data/a"}}) {
    refused(words, "(disk I/O error \\(No space left on device\\)|database or disk is full)");
  }
  filler.close();
  fs::remove(m_folder + "/filler");
  EXPECT_EQ(names(), Words{"snap:/data/a"});
  ASSERT_EQ(mount("", m_folder.c_str(), "", MS_REMOUNT | MS_RDONLY, ""), 0);
  refused(withPlugin("snapshot", {"/data/b"}),
          "(unable to open .*Read-only file system|attempt to write a readonly database)");
  umount(m_folder.c_str());
}

TEST_F(State, KnowsOfTheSnapshotsOfAMakeThatLeftNoRoomForThem) {
  if (!isUsrPrivate()) GTEST_SKIP() << "needs a mount namespace";
  mountSmallDisk();
  const std::string filler = m_folder + "/filler";
  const ScopedEnv env("TEST_FILL", filler.c_str());
  const Json answer = runJson(withPlugin("snapshot", {"/data/a"}), 2);
  const std::string session = answer["session"];
  EXPECT_THAT(answer["error"].get<std::string>(),
              HasSubstr("; taken, but not in the list: snap:/data/a (\"adopt\" adds them to it, "
                        "session " +
                        session + ")"));
  fs::remove(filler);
  EXPECT_EQ(run({"adopt", "--session", session, "snap:/data/a"}).status, 0);
  EXPECT_EQ(names(), Words{"snap:/data/a"});
  umount(m_folder.c_str());
}

TEST_F(State, IsNotTrustedWhereAnotherUserCouldChangeIt) {
  writeFile(m_dir.file("mine"), "");
  if (chown(m_dir.file("mine").c_str(), 1234, 0) != 0) GTEST_SKIP() << "needs root, to give away";
  const std::tuple<const char*, uid_t, mode_t, const char*> cases[] = {
      {"", 1234, 0700, "belongs to user 1234"},
      {"", 0, 0777, "(mode 0777)"},
      {"/state.db", 1234, 0600, "belongs to user 1234"},
      {"/state.db", 0, 0620, "(mode 0620)"},
      {"/state.json", 1234, 0600, "belongs to user 1234"}};
  for (const auto& [name, owner, mode, reason] : cases) {
    SCOPED_TRACE(std::string(name) + " " + reason);
    fs::remove_all(m_folder);
    StateStore(m_folder).check();
    const std::string path = m_folder + name;
    writeFile(m_folder + "/state.json", oldList({"a"}));
    ASSERT_EQ(chown(path.c_str(), owner, 0), 0);
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    const CommandResult result = run({"restore", "a"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("state: " + path + " is not trusted: "));
    EXPECT_THAT(result.err, HasSubstr(reason));
  }
}

TEST_F(State, LosesWhatTheProviderRemovedByItsOwnLimit) {
  const std::string file = m_dir.file("data/file");
  writeFile(file, "content");
  const Words snapshot{"snapshot", "--plugin", FILESNAP_PLUGIN, file, "--set", "keep=2"};
  Words taken;
  for (int i = 0; i < 4; ++i) {
    const Json answer = runJson(snapshot, 0);
    taken.push_back(answer["snapshots"][0]["name"]);
    EXPECT_EQ(answer["gone"], i < 2 ? Json::array() : Json{taken[i - 2]});
  }
  EXPECT_EQ(names(), (Words{taken[2], taken[3]}));
  EXPECT_THAT(run(snapshot).out,
              HasSubstr("off the list, since the provider no longer has it: " + taken[2] + "\n"));
}

TEST_F(State, TakesNoSnapshotWhereASettingIsRefused) {
  const std::string file = m_dir.file("data/file");
  writeFile(file, "content");
  const Json answer =
      runJson({"snapshot", "--plugin", FILESNAP_PLUGIN, file, "--set", "keep=0", "--force"}, 1);
  EXPECT_EQ(answer["failures"][0]["operation"], "config SET");
  EXPECT_EQ(names(), Words{});
}

// A host that is killed in make says nothing of what it took.
class Killed : public State {
 protected:
  void SetUp() override {
    const ScopedEnv env("TEST_KILL", "make");
    EXPECT_EQ(run(withPlugin("snapshot", {"/data/a", "/data/b", "--set", "keep=3"})).status,
              128 + SIGKILL);
    const Json left = unsettled();
    ASSERT_EQ(left.size(), 2U);
    m_session = left[0]["session"];
  }
  Json unsettled() { return runJson({"list"}, 0)["unsettled"]; }

  std::string m_session;
};

TEST_F(Killed, SessionIsListedWithWhatItMayHaveLeft) {
  const Json row = unsettled()[1];
  EXPECT_EQ(row["node"], "/data/b");
  EXPECT_EQ(row["provider"], "tester");
  EXPECT_EQ(row["plugin"], plugin("provider"));
  EXPECT_THAT(row["values"].get<std::string>(), HasSubstr("<value>3</value>"));
  EXPECT_THAT(run({"list"}).out, HasSubstr("no snapshots\nunsettled session " + m_session +
                                           "  by tester  of /data/a  "));
}

TEST_F(Killed, SnapshotsAreAdoptedAsTheProviderSaysThatTheyAre) {
  Words adopt{"adopt", "--session", m_session, "snap:/data/a"};
  EXPECT_THAT(run(adopt).err,
              HasSubstr("session " + m_session + " had several nodes: name one, --node"));
  adopt.insert(adopt.end(), {"--node", "/data/a"});
  {
    const ScopedEnv env("TEST_STATUS", "getStatus=0");
    EXPECT_THAT(run(adopt).err, HasSubstr("snap:/data/a of /data/a: absent"));
    EXPECT_EQ(unsettled().size(), 2U);
  }
  EXPECT_EQ(runJson(adopt, 0)["adopted"], "snap:/data/a");
  EXPECT_EQ(unsettled().size(), 1U);
  const Json listed = runJson({"list"}, 0)["snapshots"][0];
  EXPECT_EQ(listed["session"], m_session);
  EXPECT_THAT(listed["values"].get<std::string>(), HasSubstr("<value>3</value>"));
  EXPECT_EQ(run({"restore", "snap:/data/a"}).status, 0);
  EXPECT_EQ(run(adopt).status, 2);
}

TEST_F(Killed, SnapshotsAreDisposedWithoutBeingListed) {
  EXPECT_EQ(run({"dispose", "snap:/data/b", "--session", m_session, "--node", "/data/b"}).status,
            0);
  EXPECT_EQ(unsettled().size(), 1U);
  EXPECT_EQ(runJson({"adopt", "--session", m_session, "--nothing"}, 0)["dismissed"],
            Json{"/data/a"});
  EXPECT_EQ(unsettled().size(), 0U);
}

TEST_F(Killed, SessionIsToldFromOneAtWork) {
  StateStore store(m_folder);
  store.nextSession();
  store.intend({record("")});
  EXPECT_EQ(unsettled().size(), 2U);
  EXPECT_EQ(run({"adopt", "--session", "s", "--nothing"}).status, 2);
}

TEST_F(State, HasNoFolderWithoutAHome) {
  for (const char* home : {"-uHOME", "HOME=", "HOME=home"}) {
    const CommandResult result =
        runCommand({"env", "-uXDG_STATE_HOME", home, FIHOST_PROGRAM, "list"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("--state, XDG_STATE_HOME and HOME give no absolute path"));
  }
}

TEST_F(State, WaitsForALockForAWhileAndNamesWhoHoldsIt) {
  StateStore(m_folder).check();
  StateStore store(m_folder);
  store.check();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t holder = fork();
  if (holder == 0) {
    Database database(m_file);
    const fihost::Transaction transaction(database);
    static_cast<void>(!write(ends[1], "x", 1));
    pause();
  }
  char byte = 0;
  ASSERT_EQ(read(ends[0], &byte, 1), 1);
  std::string text;
  try {
    store.check();
  } catch (const fihost::Problem& problem) {
    text = problem.text;
  }
  kill(holder, SIGKILL);
  waitpid(holder, nullptr, 0);
  EXPECT_EQ(text, "state: " + m_file + " is locked by process " + std::to_string(holder) +
                      "; waited for 30 s");
  EXPECT_EQ(g_pauses, 3000);
  store.check();
}

TEST_F(State, GivesNoSessionANameThatAnotherHad) {
  std::set<std::string> ids;
  for (int i = 0; i < 3; ++i) {
    StateStore store(m_folder);
    store.forget({record("none")});
    ids.insert(fihost::newSessionId(store));
  }
  EXPECT_EQ(ids.size(), 3U);
}

}  // namespace
