#include <signal.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <thread>

#include "examples/fiarray_tool.h"
#include "support/private_usr.h"

namespace orca_tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class FiArrayTest : public testing::Test {
 protected:
  TempDir m_dir;
  FiArray m_array{m_dir.path() / "array"};
};

TEST_F(FiArrayTest, RefusesWhateverIsNotItsLoginAndChangesNothing) {
  m_array.make(1, "1M");
  const std::string login = m_dir.file("login");
  for (const std::string wrong : {"", "admin\n", "admin\ns3cret wor\n", "root\ns3cret word\n"}) {
    writeFile(login, wrong);
    const CommandResult result = m_array.runAs(login, "map E1 D0 hosta 1");
    EXPECT_EQ(result.status, 3) << wrong;
    EXPECT_THAT(result.err, testing::StartsWith("fiarray: "));
  }
  EXPECT_THAT(m_array.ok("list E1 D0"), HasSubstr("mapped=0\n"));
}

TEST_F(FiArrayTest, SaysWhatIsWrongInItsLastLineAndByItsExitStatus) {
  EXPECT_EQ(m_array.run("list").status, 4);
  m_array.make(3, "1M");
  m_array.ok("add-device E1 BIG 2M");
  m_array.ok("clone E1 D0 D1");
  m_array.ok("map E1 D0 hosta 3");
  const struct {
    const char* words;
    int status;
    const char* line;
  } cases[] = {{"init", 5, "there is an array in "},
               {"bogus", 2, "subcommand"},
               {"add-enclosure e1", 5, "enclosure e1 exists"},
               {"add-enclosure ../e2", 2, "\"../e2\" is no name"},
               {"add-device E1 d0 1M", 5, "device d0 exists"},
               {"add-device E1 D9 513", 2, "a size is a multiple of 512 bytes"},
               {"add-device E2 D9 512", 4, "no enclosure E2"},
               {"map E1 D9 hosta 1", 4, "no device D9 in E1"},
               {"map E1 D2 hosta 3", 5, "hosta sees D0 as LUN 3"},
               {"map E1 D0 hosta 4", 5, "hosta sees D0 as LUN 3"},
               {"map E1 D2 hosta 256", 2, "LUN numbers are 0 to 255"},
               {"clone E1 D2 D0", 5, "D0 is mapped"},
               {"clone E1 D2 D1", 5, "D1 holds a clone of D0: forget it first"},
               {"clone E1 D0 BIG", 6, "D0 and BIG differ in size"},
               {"clone E1 D0 d0", 5, "D0 cannot be cloned onto itself"},
               {"forget E1 D0", 5, "D0 is mapped"}};
  for (const auto& c : cases) {
    const CommandResult result = m_array.run(c.words);
    EXPECT_EQ(result.status, c.status) << c.words;
    EXPECT_EQ(result.err.rfind("fiarray: ", 0), 0U) << result.err;
    EXPECT_THAT(result.err, HasSubstr(c.line));
  }
  writeFile(m_array.folder() / "state.json", "{\"user\":");
  EXPECT_EQ(m_array.run("list").status, 9);
}

TEST_F(FiArrayTest, ClonesDataLeavesHolesOutAndCarriesABackgroundCopyOnWhenAsked) {
  m_array.make(2, "64M");
  m_array.write("D0", std::string(17 << 20, 'x'));
  EXPECT_EQ(m_array.ok("clone E1 D0 D1 --background"), "state=copying\nsource=D0\npercent=25\n");
  EXPECT_EQ(readFile(m_array.image("D1")).find('x'), std::string::npos);
  EXPECT_EQ(m_array.ok("copy-status E1 D1"), "state=done\nsource=D0\npercent=100\n");
  EXPECT_EQ(readFile(m_array.image("D1")), readFile(m_array.image("D0")));
  struct stat status {};
  ASSERT_EQ(stat(m_array.image("D1").c_str(), &status), 0);
  EXPECT_LT(status.st_blocks * 512, 20 << 20);
}

TEST_F(FiArrayTest, GivesACopyUpWhoseSourceIsWritten) {
  m_array.make(2, "32M");
  m_array.write("D0", std::string(17 << 20, 'x'));
  m_array.ok("clone E1 D0 D1 --background");
  m_array.write("D0", "y");
  EXPECT_THAT(m_array.ok("copy-status E1 D1"),
              HasSubstr("state=failed\nsource=D0\npercent=50\ncause=D0 was written while"));
  EXPECT_EQ(readFile(m_array.image("D1")).find_first_of("xy"), std::string::npos);
}

TEST_F(FiArrayTest, SharesBlocksWhereTheFileSystemCan) {
  const std::string place = m_dir.file("fs");
  const std::string image = m_dir.file("disk");
  if (!isUsrPrivate() ||
      runCommand({"/bin/sh", "-c",
                  "mkdir " + place + " && truncate -s 320M " + image + " && mkfs.xfs -q " + image +
                      " && mount -o loop " + image + " " + place})
              .status != 0) {
    GTEST_SKIP() << "no XFS can be mounted here";
  }
  {
    FiArray array(place + "/array");
    array.make(2, "64M");
    array.write("D0", std::string(64 << 20, 'x'));
    sync();
    const auto before = static_cast<intmax_t>(fs::space(place).free);
    EXPECT_EQ(array.ok("clone E1 D0 D1 --cow --background"),
              "state=done\nsource=D0\npercent=100\n");
    sync();
    EXPECT_LT(before - static_cast<intmax_t>(fs::space(place).free), 16 << 20);
    EXPECT_EQ(readFile(array.image("D1")), readFile(array.image("D0")));
  }
  umount(place.c_str());
}

TEST_F(FiArrayTest, LosesNothingWhenCommandsRunAtTheSameTime) {
  m_array.make(0, "");
  std::vector<std::thread> threads;
  for (int i = 0; i < 6; ++i) {
    threads.emplace_back([&, i] { m_array.ok("add-device E1 D" + std::to_string(i) + " 512"); });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < 6; ++i) m_array.ok("list E1 D" + std::to_string(i));
}

// Kills of a command at its system calls.
class FiArrayKill : public FiArrayTest, public testing::WithParamInterface<const char*> {
 protected:
  // Runs a command and kills it at its nth stop, each system call giving one on its way in and one
  // on its way out. Returns the number of stops it came to.
  int killAt(int stop, const std::string& words) const {
    const pid_t pid = fork();
    if (pid == 0) {
      ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      const std::string text = "exec " FIARRAY_PROGRAM " --state " + m_array.folder().string() +
                               " " + words + " < " + m_array.loginFile() + " > /dev/null";
      execl("/bin/sh", "sh", "-c", text.c_str(), nullptr);
      _exit(1);
    }
    int status = 0;
    int i = 0;
    for (waitpid(pid, &status, 0); i < stop && WIFSTOPPED(status); ++i) {
      ptrace(PTRACE_SYSCALL, pid, nullptr, nullptr);
      waitpid(pid, &status, 0);
    }
    if (!WIFSTOPPED(status)) return i;
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    return i;
  }
  void restoreTemplate() const {
    fs::remove_all(m_array.folder());
    fs::copy(m_dir.path() / "template", m_array.folder(), fs::copy_options::recursive);
  }
  // Repeats the command, waits for a copy, and shows what the array then is.
  std::string finish(const std::string& words) const {
    const int status = m_array.run(words).status;
    EXPECT_TRUE(status == 0 || status == 5) << status;
    while (m_array.ok("copy-status E1 D1").find("state=copying") == 0) {
    }
    return m_array.ok("list") + readFile(m_array.image("D1"));
  }
  void SetUp() override {
    const pid_t pid = fork();
    if (pid == 0) _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    int status = 0;
    waitpid(pid, &status, 0);
    if (status != 0) GTEST_SKIP() << "processes may not be traced here";
    m_array.make(4, "4K");
    m_array.write("D0", m_new);
    m_array.write("D1", m_old);
    m_array.ok("map E1 D2 hosta 7");
    m_array.ok("clone E1 D0 D3");
    fs::rename(m_array.folder(), m_dir.path() / "template");
  }

  const std::string m_old = std::string(4096, 'o');
  const std::string m_new = std::string(4096, 'n');
};

TEST_P(FiArrayKill, LeavesAnArrayOnWhichTheCommandCanBeRepeated) {
  const std::string words = GetParam();
  restoreTemplate();
  const int stops = killAt(1 << 20, words);
  const std::string expected = finish(words);
  const int phase = static_cast<int>(std::random_device()() % 8);
  for (int stop = stops - phase; stop > stops / 3; stop -= 8) {
    SCOPED_TRACE(words + " killed at stop " + std::to_string(stop) + " of " +
                 std::to_string(stops));
    restoreTemplate();
    killAt(stop, words);
    m_array.ok("list");
    const std::string target = readFile(m_array.image("D1"));
    EXPECT_TRUE(target == m_old || target == m_new);
    EXPECT_EQ(finish(words), expected);
    if (HasFailure()) return;
  }
}
INSTANTIATE_TEST_SUITE_P(Commands, FiArrayKill,
                         testing::Values("clone E1 D0 D1", "clone E1 D0 D1 --background",
                                         "map E1 D0 hosta 1", "unmap E1 D2 hosta", "forget E1 D3",
                                         "add-device E1 D9 8K", "add-enclosure E9"));

}  // namespace
}  // namespace orca_tests
