#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "cfipblm.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::CFiPblmOps;

constexpr int kMayNotTrace = 77;

class LunCacheCrash : public ::testing::Test {
 protected:
  LunCacheCrash() { writeFile(m_record, ""); }

  // Runs an action in a process that is killed at its nth stop, each system call giving one on its
  // way in and one on its way out. Answers with the status of its end.
  static int killAt(int stop, const std::function<void()>& action) {
    const pid_t pid = fork();
    if (pid == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kMayNotTrace);
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
    if (WIFSTOPPED(status)) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
    }
    return status;
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

  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  std::string m_record = m_root.file("lib/orca/cachefiles/luns/E1/UDID##V##P##E1##D");
};

TEST_F(LunCacheCrash, LeavesTheOldRecordOrTheNewWhereverSettingOrRemovingIsKilled) {
  const auto set = [this] { CFiPblmOps().setKeyValue(m_record.c_str(), {"2"}, "E1"); };
  const auto remove = [this] { CFiPblmOps().rmCacheRecord(m_record.c_str()); };
  const struct {
    const char *before, *after;
    std::function<void()> action;
  } cases[] = {{"", "2", set}, {"1", "2", set}, {"1", "", remove}};
  for (const auto& [before, after, action] : cases) {
    int stops = 0;
    bool hasChanged = false;
    for (bool isKilled = true; isKilled; ++stops) {
      std::filesystem::remove(m_record);
      if (*before != '\0') writeFile(m_record, before);
      const int status = killAt(stops, action);
      if (WEXITSTATUS(status) == kMayNotTrace) GTEST_SKIP() << "processes may not be traced here";
      isKilled = WIFSIGNALED(status);
      const std::string left = readFile(m_record);
      hasChanged = hasChanged || left == after;
      EXPECT_EQ(left, hasChanged ? after : before) << stops;
      EXPECT_EQ(std::filesystem::exists(m_record), !left.empty());
      EXPECT_EQ(freeNumbers(), left == "2" ? "013" : left == "1" ? "023" : "0123") << stops;
    }
    EXPECT_TRUE(hasChanged && stops > 10) << stops;
  }
}

}  // namespace
}  // namespace orca_tests
