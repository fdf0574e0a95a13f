#include <signal.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <set>

#include "cfipblm.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::CFiPblmOps;

constexpr int kMayNotTrace = 77;

class LunCacheCrash : public ::testing::Test {
 protected:
  LunCacheCrash() { writeFile(m_record, ""); }

  // Runs an action in a process that is stopped at each system call, on the way in and on the way
  // out, until atStop has no more interest in its stops. Answers with the status of its end.
  static int trace(const std::function<int()>& action, const std::function<bool(pid_t)>& atStop) {
    const pid_t pid = fork();
    if (pid == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kMayNotTrace);
      raise(SIGSTOP);
      _exit(action());
    }
    int status = 0;
    waitpid(pid, &status, 0);
    while (WIFSTOPPED(status)) {
      ptrace(atStop(pid) ? PTRACE_SYSCALL : PTRACE_CONT, pid, nullptr, nullptr);
      waitpid(pid, &status, 0);
    }
    return status;
  }
  // Kills the process at its nth stop.
  static int killAt(int stop, const std::function<int()>& action) {
    return trace(action, [&](pid_t pid) {
      if (stop-- == 0) kill(pid, SIGKILL);
      return stop >= 0;
    });
  }
  // Lets the nth of some system calls fail once. False for isDone when there were fewer of them.
  static int failAt(int number, int error, const std::set<unsigned long long>& calls, bool& isDone,
                    const std::function<int()>& action) {
    bool isInside = true;  // where the process stopped itself
    isDone = false;
    return trace(action, [&](pid_t pid) {
      user_regs_struct registers;
      ptrace(PTRACE_GETREGS, pid, nullptr, &registers);
      isInside = !isInside;
      if (isInside && calls.count(registers.orig_rax) != 0 && number-- == 0) {
        registers.orig_rax = ~0ULL;
        isDone = true;
      } else if (isDone) {
        registers.rax = static_cast<unsigned long long>(-error);
      }
      ptrace(PTRACE_SETREGS, pid, nullptr, &registers);
      return !isDone || isInside;
    });
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

  long filesLeft() const {
    const std::filesystem::directory_iterator folder(std::filesystem::path(m_record).parent_path());
    return std::distance(folder, std::filesystem::directory_iterator());
  }

  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  std::string m_record = m_root.file("lib/orca/cachefiles/luns/E1/UDID##V##P##E1##D");
};

TEST_F(LunCacheCrash, LeavesTheOldRecordOrTheNewWhereverItIsKilled) {
  const auto set = [this] { return CFiPblmOps().setKeyValue(m_record.c_str(), {"2"}, "E1"); };
  const auto remove = [this] { return CFiPblmOps().rmCacheRecord(m_record.c_str()); };
  const struct {
    const char *before, *after;
    std::function<int()> action;
  } cases[] = {{"", "2", set}, {"1", "2", set}, {"1", "", remove}};
  for (const auto& [before, after, action] : cases) {
    int stop = 0;
    bool hasChanged = false;
    for (bool isKilled = true; isKilled; ++stop) {
      SCOPED_TRACE("\"" + std::string(before) + "\" to \"" + after + "\", stop " +
                   std::to_string(stop));
      std::filesystem::remove(m_record);
      if (*before != '\0') writeFile(m_record, before);
      const int status = killAt(stop, action);
      if (WEXITSTATUS(status) == kMayNotTrace) GTEST_SKIP() << "processes may not be traced here";
      isKilled = WIFSIGNALED(status);
      const std::string left = readFile(m_record);
      hasChanged = hasChanged || left == after;
      EXPECT_EQ(left, hasChanged ? after : before);
      EXPECT_EQ(freeNumbers(), left == "2" ? "013" : left == "1" ? "023" : "0123");
      EXPECT_EQ(filesLeft(), left.empty() ? 0 : 1) << "the temporary is removed";
    }
    EXPECT_TRUE(hasChanged);
    EXPECT_GT(stop, 10);
  }
}

TEST_F(LunCacheCrash, AnswersWhatBecameOfARecordWhicheverSystemCallFails) {
  if (ORCA_SANITIZED) GTEST_SKIP() << "the sanitizers' own system calls would fail";
  const std::set<unsigned long long> interruptible = {SYS_openat, SYS_read,   SYS_write, SYS_fsync,
                                                      SYS_rename, SYS_unlink, SYS_close};
  std::set<unsigned long long> all = interruptible;
  all.insert({SYS_newfstatat, SYS_fchmod, SYS_fchown, SYS_getdents64});
  all.erase(SYS_unlink);  // nothing cleans up after it
  for (const auto& [error, calls] : {std::pair(EINTR, interruptible), std::pair(ENOSPC, all)}) {
    bool isDone = true;
    for (int number = 0; isDone; ++number) {
      SCOPED_TRACE(strerrorname_np(error) + (" at call " + std::to_string(number)));
      writeFile(m_record, "1");
      struct stat old, now;
      ASSERT_EQ(stat(m_record.c_str(), &old), 0);
      const int status = failAt(number, error, calls, isDone, [this] {
        return CFiPblmOps().setKeyValue(m_record.c_str(), {"2"}, "E1");
      });
      if (WEXITSTATUS(status) == kMayNotTrace) GTEST_SKIP() << "processes may not be traced here";
      ASSERT_TRUE(WIFEXITED(status));
      const std::string left = readFile(m_record);
      EXPECT_EQ(WEXITSTATUS(status), left == "2" ? 0 : 26);
      EXPECT_EQ(left, error == EINTR || left == "2" ? "2" : "1");
      ASSERT_EQ(stat(m_record.c_str(), &now), 0);
      EXPECT_EQ(now.st_ino != old.st_ino, left == "2") << "replaced, not written to";
      EXPECT_EQ(filesLeft(), 1);
    }
  }
}

}  // namespace
}  // namespace orca_tests
