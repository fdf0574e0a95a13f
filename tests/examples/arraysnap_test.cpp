#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "examples/arraysnap_fixture.h"

namespace orca_tests {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class FiArrayTest : public testing::Test {
 protected:
  TempDir m_dir;
  FiArray m_array{m_dir.path() / "array"};
};

TEST_F(FiArrayTest, SaysWhatIsWrongInItsLastLineAndByItsExitStatus) {
  EXPECT_EQ(m_array.run("list").status, 4);
  m_array.make(3, "1M");
  m_array.ok("add-device E1 BIG 2M");
  m_array.ok("clone E1 D0 D1");
  m_array.ok("map E1 D0 hosta 3");
  const std::tuple<const char*, int, const char*> cases[] = {
      {"add-device E1 d0 1M", 5, "device d0 exists"},
      {"add-device E1 ODD 1025", 2, "a size is a multiple of 512 bytes"},
      {"map E1 D2 hosta 3", 5, "hosta sees D0 as LUN 3"},
      {"map E1 D0 hosta 4", 5, "hosta sees D0 as LUN 3"},
      {"clone E1 D2 D1", 5, "D1 holds a clone of D0: forget it first"},
      {"clone E1 D0 BIG", 6, "D0 and BIG differ in size"},
      {"forget E1 D0", 5, "D0 is mapped"}};
  for (const auto& [words, status, line] : cases) {
    const CommandResult result = m_array.run(words);
    EXPECT_EQ(result.status, status) << words;
    EXPECT_THAT(result.err, AllOf(testing::StartsWith("fiarray: "), HasSubstr(line)));
  }
  m_array.ok("inject exit 8");
  m_array.ok("inject none");
  m_array.ok("list");
  writeFile(m_array.folder / "state.json", "{\"user\":");
  EXPECT_EQ(m_array.run("list").status, 9);
}

TEST_F(FiArrayTest, GivesABackgroundCopyUpWhoseSourceIsWrittenAndKeepsTheTarget) {
  m_array.make(2, "32M");
  m_array.write("D0", std::string(17 << 20, 'x'));
  EXPECT_EQ(m_array.ok("clone E1 D0 D1 --background"), "state=copying\nsource=D0\npercent=50\n");
  m_array.write("D0", "y");
  EXPECT_THAT(m_array.ok("copy-status E1 D1"),
              HasSubstr("state=failed\nsource=D0\npercent=50\ncause=D0 was written while"));
  EXPECT_EQ(readFile(m_array.image("D1")).find_first_of("xy"), std::string::npos);
}

using ArraySnap = ArraySnapTest;

TEST_F(ArraySnap, GivesNodesTheFimsWhosePatternsTheyMatch) {
  EXPECT_STREQ(node("D0").domain.fim_list->name->text, "arraysnap");
  configure("[FIMS]\n[FIMS\\mirror]\n\"PATTERN\"=\"##D7\"\n");
  EXPECT_STREQ(node("D7").domain.fim_list->name->text, "mirror");
  EXPECT_EQ(node("D0").domain.fim_list, nullptr);
}

TEST_F(ArraySnap, ClonesMapsUnderALunNumberUnmapsAndFreesTheNumber) {
  m_array.make(3, "32M");
  m_array.write("D0", std::string(17 << 20, 'x'));
  ASSERT_EQ(setTarget("D0", "D1"), 0);
  ASSERT_EQ(m_provider->select(m_session, split({"D0"}).data(), 1), 0) << lastError();
  ASSERT_EQ(prepare({"D0"}), 0) << lastError();
  const std::string made = kPrefix + "D1";
  ASSERT_THAT(make({"D0"}), ElementsAre(made)) << lastError();
  const std::string content = readFile(m_array.image("D0"));
  m_array.write("D0", "changed since");
  EXPECT_EQ(status(made, "D0"), 8);
  EXPECT_EQ(status(made, "D2"), 0);

  EXPECT_EQ(readFile(import("D1")), content) << lastError();
  EXPECT_EQ(lun("D1"), "0");
  import("D2");
  EXPECT_EQ(lun("D2"), "1");
  import("D1", "hostb");
  EXPECT_THAT(m_array.ok("list E1 D1"), HasSubstr("mapping=hosta:0\nmapping=hostb:0\n"));

  EXPECT_EQ(dispose(made), 6);
  EXPECT_EQ(deport("D1"), 0);
  EXPECT_EQ(lun("D1"), "0");
  EXPECT_EQ(deport("D1", "hostb"), 0);
  EXPECT_EQ(lun("D1"), "");
  EXPECT_EQ(deport("D1", "hostb"), 0) << "gone is success";
  import("D0");
  EXPECT_EQ(lun("D0"), "0");
  EXPECT_EQ(dispose(made), 0);
  EXPECT_EQ(status(made, "D0"), 0);
}

// With ORCA_RECORD=/PATH the array's answers are recorded there anew.
TEST_F(ArraySnap, GoesThroughItsCycleWithoutAnArray) {
  const std::string secret = " --secret " + m_dir.str() + " -- ";
  if (const char* path = std::getenv("ORCA_RECORD")) {
    m_array.make(2, "4K");
    useTool("cd " + fs::path(FIARRAY_PROGRAM).parent_path().string() +
            " && exec " FIRECORD_PROGRAM " --to " + path + secret + "./fiarray \"$@\"");
  } else {
    fs::copy_file(ARRAYSNAP_SESSION, m_dir.file("session"));
    useTool("exec " FIRECORD_PROGRAM " --from " + m_dir.file("session") + secret + "\"$@\"");
  }
  ASSERT_EQ(setTarget("D0", "D1"), 0);
  ASSERT_EQ(prepare({"D0"}), 0) << lastError();
  const std::string made = kPrefix + "D1";
  ASSERT_THAT(make({"D0"}), ElementsAre(made)) << lastError();
  EXPECT_EQ(status(made, "D0"), 8);
  EXPECT_THAT(import("D1"), testing::EndsWith("/array/images/E1/D1.img")) << lastError();
  EXPECT_EQ(dispose(made), 6);
  EXPECT_THAT(lastError(), HasSubstr("status 5. Its last line: fiarray: D1 is mapped."));
  EXPECT_EQ(deport("D1"), 0);
  EXPECT_EQ(dispose(made), 0);
  EXPECT_EQ(import("D9"), "") << "which was not recorded";
  EXPECT_THAT(lastError(), HasSubstr("status 4. Its last line: fiarray: no device D9"));
}

TEST_F(ArraySnap, TellsTroubleOfTheToolAndCanBeAskedAgain) {
  m_array.make(1, "4K");
  const std::string command = "arraysnap: \"" FIARRAY_PROGRAM " --state " +
                              m_array.folder.string() + " map E1 D0 hosta 0\" ";
  const std::string unknown = "Whether the array did it is not known; look at the array, then";
  const std::array<std::string, 3> cases[] = {
      {"exit 8",
       "failed: Command exited with status 8. Its last line: fiarray: the controller is "
       "not in the mood. The array did nothing for it; correct the cause and try again.",
       ""},
      {"exit 10",
       "was cut off: Command exited with status 10. Its last line: fiarray: the "
       "controller is not in the mood. " +
           unknown,
       "0"},
      {"crash", "was cut off: Command terminated by signal 9. Its last line: -. " + unknown, "0"},
      {"silence 60", "was cut off: no sign of life for 2 seconds. Its last line: -. " + unknown,
       "0"},
      {"garbage",
       "ended with exit status 0 but answered something unknown: ??\u2039%s>=?=?[2J. Whether",
       "0"}};
  for (const auto& [trouble, sentence, numberAfter] : cases) {
    SCOPED_TRACE(trouble);
    const bool isSilent = trouble.starts_with("silence");
    m_array.ok("inject " + trouble);
    if (isSilent) configure("\"TIMEOUT\"=dword:00000002\n");
    EXPECT_EQ(import("D0"), "");
    EXPECT_EQ(m_result, 6);
    EXPECT_THAT(lastError(), testing::StartsWith(command + sentence));
    EXPECT_EQ(lun("D0"), numberAfter);
    if (isSilent) configure();
    EXPECT_EQ(import("D0"), m_array.image("D0"));
    EXPECT_EQ(deport("D0"), 0);
    EXPECT_EQ(lun("D0"), "");
  }
}

TEST_F(ArraySnap, SaysThatACopyOnItsWayIsNoSnapshot) {
  m_array.make(2, "64M");
  m_array.write("D0", std::string(40 << 20, 'x'));
  m_array.ok("clone E1 D0 D1 --background");
  EXPECT_EQ(status(kPrefix + "D1", "D0"), 0);
}

TEST_F(ArraySnap, FindsTheNumberOfADeviceWhoseRecordWasLost) {
  m_array.make(3, "4K");
  m_array.ok("map E1 D0 hosta 7");
  m_array.ok("map E1 D1 hosta 0");
  m_array.ok("map E1 D1 hostb 1");
  EXPECT_EQ(import("D0"), m_array.image("D0")) << lastError();
  EXPECT_EQ(lun("D0"), "7") << "under which the host sees it";
  EXPECT_EQ(import("D2"), m_array.image("D2")) << lastError();
  EXPECT_EQ(lun("D2"), "2") << "which the array has not given away";
}

TEST_F(ArraySnap, LetsAToolPrintNoMoreThan16MiB) {
  useTool("head -c 20000000 /dev/zero | tr '\\0' 'x'");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(), HasSubstr("its output is longer than 16777216 bytes. Its last line: x"));
}

TEST_F(ArraySnap, NamesAConfigurationThatCannotBeRead) {
  writeFile(m_config / "arraysnap_array.conf", "[broken\n");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(), HasSubstr("arraysnap_array.conf cannot be read (result -3). Correct"));
}

TEST_F(ArraySnap, SaysWhyTheLunCacheCannotBeUsed) {
  m_array.make(1, "4K");
  fs::create_directories(m_root / "lib/orca/cachefiles/luns/.lock-E1");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(), HasSubstr("luns/.lock-E1: Is a directory. Check the directory"));
}

TEST_F(FiArrayTest, SaysThatItIsNotCertainWhereItsAnswerIsLost) {
  m_array.make(1, "4K");
  const CommandResult result =
      runCommand({"sh", "-c", "$0 --state $1 map E1 D0 hosta 0 <$2 >/dev/full", FIARRAY_PROGRAM,
                  m_array.folder, m_array.loginFile});
  EXPECT_EQ(result.status, 10);
  EXPECT_THAT(m_array.ok("list E1 D0"), HasSubstr("mapping=hosta:0"));
}

TEST_F(ArraySnap, TakesLoginsFromTheFrameworkFirstAndThenFromItsFile) {
  m_array.make(1, "4K");
  configure("", "wrong");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(),
              AllOf(HasSubstr("status 3. Its last line: fiarray: the login is refused"),
                    Not(HasSubstr("wrong"))));
  writeFile(m_dir.file("text"),
            std::string("[STORAGE_MANAGEMENT_SERVICE\\CREDENTIALS\\FIARRAY]\n\"HOSTNAME\"=\"fw\"\n"
                        "\"USERNAME\"=\"admin\"\n\"PASSWORD\"=\"") +
                kPassword + "\"\n");
  const ScopedEnv blob("ORCA_CREDENTIALS", m_dir.file("text").c_str());
  EXPECT_EQ(import("D0"), m_array.image("D0"));
  configure("\"ARRAY_HOST\"=\"ARRAY1\"\n", "wrong");
  EXPECT_EQ(import("D0"), "");
  configure("\"ARRAY_HOST\"=\"array9\"\n");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(), HasSubstr("No login for array array9 in the framework's credentials"));
}

TEST_F(ArraySnap, ShowsThePasswordToNobodyButTheTool) {
  m_array.make(1, "4K");
  useTool("cat /proc/$$/cmdline /proc/$$/environ >" + m_dir.file("seen") +
          "\nexec " FIARRAY_PROGRAM " \"$@\"");
  import("D0");
  EXPECT_EQ(m_result, 0) << lastError();
  EXPECT_THAT(readFile(m_dir.file("seen")),
              AllOf(HasSubstr("hosta"), HasSubstr("LC_ALL=C"), Not(HasSubstr(kPassword))));
  useTool("tr '\\n' ' '\nexit 2");
  import("D0");
  EXPECT_THAT(lastError(), HasSubstr("Its last line: admin *** . The array"));
  if (!isUsrPrivate()) return;
  std::string traces;
  for (const auto& entry : fs::directory_iterator(kTraceFolder)) traces += readFile(entry.path());
  EXPECT_THAT(traces, AllOf(HasSubstr("importNode"), Not(HasSubstr(kPassword))));
}

TEST_F(ArraySnap, RefusesBeforeTheSnapshotWhatCannotWork) {
  m_array.make(2, "4K");
  m_array.ok("add-device E1 BIG 8K");
  const std::tuple<const char*, const char*, int, const char*> cases[] = {
      {"BIG", "full", 6, "D0: its size differs. Nothing was changed."},
      {"D0", "full", 6, "D0: it is the source."},
      {"D9", "full", 6, "status 4. Its last line: fiarray: no device D9 in E1."},
      {"-x", "full", 3, "\"-X\" cannot be the name of an enclosure, a device or a host"},
      {"", "full", 6, "E1##D0 in snapshot_resource_spec \"[E1##D0;]\"."}};
  for (const auto& [target, mode, result, sentence] : cases) {
    configure();
    ASSERT_EQ(setTarget("D0", target, mode), 0);
    EXPECT_EQ(prepare({"D0"}), result) << target;
    EXPECT_THAT(lastError(), HasSubstr(sentence));
  }
  EXPECT_EQ(dispose("no identifier"), 3);
  EXPECT_THAT(lastError(), HasSubstr("\"no identifier\" is no device identifier (reason 2)."));
  const ScopedEnv child("ORCA_CHILD_CONTEXT", "1");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(), HasSubstr("it passes no login on. Nothing was changed."));
}

TEST_F(ArraySnap, GivesTheDeviceToItsOwner) {
  if (geteuid() != 0 || readFile("/proc/self/uid_map").find("4294967295") == std::string::npos) {
    GTEST_SKIP() << "only root of the first user namespace can surely give files away";
  }
  m_array.make(1, "4K");
  configure("\"OWNER\"=dword:00000007\n\"GROUP\"=dword:00000009\n");
  struct stat status {};
  ASSERT_EQ(stat(import("D0").c_str(), &status), 0) << lastError();
  EXPECT_EQ(std::make_pair(status.st_uid, status.st_gid), std::make_pair(7U, 9U));
}

TEST_F(ArraySnap, ReadsAMappedDeviceAsABlockDevice) {
  m_array.make(1, "64K", "");
  m_array.write("D0", "on the disk");
  const std::string path = import("D0");
  const bool isBlock = fs::is_block_file(path);
  EXPECT_EQ(isBlock, std::system("PATH=$PATH:/sbin; test -w \"$(losetup -f 2>&-)\"") == 0);
  EXPECT_EQ(readFile(path).substr(0, 11), "on the disk") << lastError();
  EXPECT_EQ(deport("D0"), 0) << lastError();
  if (!isBlock) GTEST_SKIP() << "no loop device for this user";
  EXPECT_THAT(m_array.ok("list E1 D0"), HasSubstr("path=" + m_array.image("D0")));
}

}  // namespace
}  // namespace orca_tests
