#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "cfipblm.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::CFiPblmOps;

class LunCacheCrash : public ::testing::Test {
 protected:
  LunCacheCrash() { std::filesystem::create_directories(m_folder); }

  // Runs an action in a process that is killed at its nth stop, each system call giving one on its
  // way in and one on its way out. False when the process ended before.
  template <typename Action>
  bool isKilledAt(int stop, Action action) {
    const pid_t pid = fork();
    if (pid == 0) {
      ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      raise(SIGSTOP);
      action();
      _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    for (int i = 0; i < stop && WIFSTOPPED(status); ++i) {
      ptrace(PTRACE_SYSCALL, pid, nullptr, nullptr);
      waitpid(pid, &status, 0);
    }
    if (!WIFSTOPPED(status)) return false;
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    return true;
  }
  // What the next process proposes, in one text.
  static std::string freeNumbers() {
    CFiPblmOps cache;
    cache.setLunNumRange(0, 3);
    Texts out;
    cache.getNewValue("E1", out);
    std::string all;
    for (const std::string& number : out) all += number;
    return all;
  }
  static bool mayTrace() {
    const pid_t pid = fork();
    if (pid == 0) _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    int status = 0;
    waitpid(pid, &status, 0);
    return status == 0;
  }
  void SetUp() override {
    if (!mayTrace()) GTEST_SKIP() << "processes may not be traced here";
  }

  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  std::filesystem::path m_folder = m_root.path() / "lib/orca/cachefiles/luns/E1";
  std::string m_record = m_folder / "UDID##V##P##E1##D";
};

TEST_F(LunCacheCrash, LeavesTheOldRecordOrTheNewWhenSettingIsKilled) {
  for (const std::string old : {"", "1"}) {
    int stops = 0;
    bool hasChanged = false;
    for (bool isKilled = true; isKilled; ++stops) {
      std::filesystem::remove(m_record);
      if (!old.empty()) writeFile(m_record, old);
      isKilled =
          isKilledAt(stops, [this] { CFiPblmOps().setKeyValue(m_record.c_str(), {"2"}, "E1"); });
      const std::string left = readFile(m_record);
      EXPECT_EQ(left, hasChanged || left == "2" ? "2" : old) << stops;
      hasChanged = left == "2";
      EXPECT_EQ(std::filesystem::exists(m_record), !left.empty());
      EXPECT_EQ(freeNumbers(), hasChanged ? "013" : left == "1" ? "023" : "0123");
    }
    EXPECT_TRUE(hasChanged && stops > 20) << stops;
  }
}

TEST_F(LunCacheCrash, LeavesTheRecordOrNoneWhenRemovingIsKilled) {
  int stops = 0;
  for (bool isKilled = true; isKilled; ++stops) {
    writeFile(m_record, "1");
    isKilled = isKilledAt(stops, [this] { CFiPblmOps().rmCacheRecord(m_record.c_str()); });
    const bool isThere = std::filesystem::exists(m_record);
    EXPECT_EQ(freeNumbers(), isThere ? "023" : "0123") << stops;
    EXPECT_TRUE(isKilled || !isThere);
  }
}

}  // namespace
}  // namespace orca_tests
