#include "support/traced_work.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/points.h"
#include "support/run_command.h"
#include "support/shared.h"

namespace orca_tests {

namespace {

constexpr int kMayNotTrace = 77;
constexpr unsigned kSeconds = 60;  // then the process hangs
constexpr int kSyscallStop = SIGTRAP | 0x80;

// Of the calls that have a path, the first argument that may be one.
const char* pathOf(const __ptrace_syscall_info& info) {
  switch (info.entry.nr) {
    case SYS_openat:
    case SYS_newfstatat:
    case SYS_mkdirat:
    case SYS_unlinkat:
    case SYS_renameat:
    case SYS_readlinkat:
    case SYS_faccessat:
    case SYS_faccessat2:
      return reinterpret_cast<const char*>(info.entry.args[1]);
    case SYS_open:
    case SYS_access:
    case SYS_mkdir:
    case SYS_unlink:
    case SYS_rename:
    case SYS_readlink:
    case SYS_stat:
    case SYS_lstat:
      return reinterpret_cast<const char*>(info.entry.args[0]);
    default:
      return nullptr;
  }
}

// Whether a call of a process names a path that begins so.
bool isBelow(pid_t pid, const __ptrace_syscall_info& info, const std::string& folder) {
  std::string text(folder.size(), '\0');
  iovec here{text.data(), text.size()};
  iovec there{const_cast<char*>(pathOf(info)), text.size()};
  if (there.iov_base == nullptr) return false;
  return process_vm_readv(pid, &here, 1, &there, 1, 0) > 0 && text == folder;
}

void joinOutput(int file) {
  dup2(file, STDOUT_FILENO);
  dup2(file, STDERR_FILENO);
}

}  // namespace

Calls callsThatEndWith(int error) {
  const Calls waiting = {SYS_openat,   SYS_read,     SYS_write,     SYS_pread64,
                         SYS_pwrite64, SYS_fsync,    SYS_fdatasync, SYS_flock,
                         SYS_rename,   SYS_renameat, SYS_renameat2};
  const Calls naming = {SYS_openat,    SYS_mkdir,  SYS_mkdirat,  SYS_rename,    SYS_renameat,
                        SYS_renameat2, SYS_unlink, SYS_unlinkat, SYS_newfstatat};
  const Calls growing = {SYS_openat,    SYS_mkdir, SYS_mkdirat,   SYS_rename, SYS_renameat,
                         SYS_renameat2, SYS_fsync, SYS_fdatasync, SYS_write,  SYS_pwrite64,
                         SYS_ftruncate, SYS_close, SYS_fallocate, SYS_ioctl,  SYS_copy_file_range};
  switch (error) {
    case EINTR:
      return waiting;
    case EMFILE:
      return {SYS_openat, SYS_pipe2, SYS_socket, SYS_dup, SYS_fcntl};
    case EACCES:
      return naming;
    case ENOSPC:
      return growing;
    default:
      break;
  }
  Calls all = waiting;
  all.insert(naming.begin(), naming.end());
  all.insert(growing.begin(), growing.end());
  all.insert({SYS_fchmod, SYS_fchown, SYS_getdents64, SYS_lseek});
  return all;
}

// What the traced process and this one both see.
struct TracedWork::Told {
  bool isTraced = false;
  int result = -1;
  char text[4096] = "";
};

// What is to happen to the process at which call.
struct TracedWork::Strike {
  const Calls& calls;
  std::size_t point;
  int error = 0;  // 0: a kill
  bool isLasting = false;
  std::size_t seen = 0;

  bool isOver(bool isStruck) const { return isStruck && !isLasting; }
  bool concerns(const __ptrace_syscall_info& info) const {
    return calls.empty() || calls.count(info.entry.nr) != 0;
  }
};

TracedWork::TracedWork(std::function<int()> work, std::function<std::string()> after)
    : m_work(std::move(work)), m_after(std::move(after)) {}

TracedWork::TracedWork(std::vector<std::string> command, std::string folder)
    : m_work([command = std::move(command)]() -> int {
        std::vector<char*> words;
        for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        execv(words[0], words.data());
        return -1;
      }),
      m_folder(std::move(folder)) {}

void TracedWork::beChild(Told& told) const {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kMayNotTrace);
  raise(SIGSTOP);
  alarm(kSeconds);
  told.isTraced = m_folder.empty();
  told.result = m_work();
  told.isTraced = false;
  if (m_after) std::strncpy(told.text, m_after().c_str(), sizeof told.text - 1);
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

// Leads a stopped child to its end.
class TracedWork::Tracer {
 public:
  Tracer(pid_t pid, Told& told, const std::string& folder, Strike& strike)
      : m_pid(pid), m_told(told), m_folder(folder), m_strike(strike) {}

  TracedEnd run() {
    waitpid(m_pid, &m_end.status, 0);
    ptrace(PTRACE_SETOPTIONS, m_pid, nullptr,
           PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
    while (WIFSTOPPED(m_end.status)) {
      const int stop = WSTOPSIG(m_end.status);
      if (stop == kSyscallStop) atCall();
      const bool isOwn = stop == kSyscallStop || stop == SIGTRAP || stop == SIGSTOP;
      const bool isDone = m_strike.isOver(m_end.isStruck) && !m_isFailing;
      ptrace(isDone ? PTRACE_CONT : PTRACE_SYSCALL, m_pid, nullptr, isOwn ? 0 : stop);
      waitpid(m_pid, &m_end.status, 0);
    }
    return m_end;
  }

 private:
  // On the way into a call or out of it.
  void atCall() {
    if (m_isFailing) {
      changeRegisters([this](user_regs_struct& registers) {
        registers.rax = static_cast<unsigned long long>(-m_strike.error);
      });
      m_isFailing = false;
      return;
    }
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, m_pid, sizeof info, &info);
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY) return;
    if (!m_folder.empty() && !m_told.isTraced) m_told.isTraced = isBelow(m_pid, info, m_folder);
    if (m_told.isTraced && m_strike.concerns(info)) countOrStrike(info.entry.nr);
  }

  void countOrStrike(unsigned long long call) {
    m_end.isStruck = m_end.isStruck || m_strike.seen == m_strike.point;
    ++m_strike.seen;
    if (!m_end.isStruck) return;
    if (m_strike.error == 0) {
      kill(m_pid, SIGKILL);
      return;
    }
    // A descriptor is closed also when that fails.
    if (call != SYS_close) {
      changeRegisters([](user_regs_struct& registers) { registers.orig_rax = ~0ULL; });
    }
    m_isFailing = true;
  }

  template <typename Change>
  void changeRegisters(Change change) const {
    user_regs_struct registers;
    ptrace(PTRACE_GETREGS, m_pid, nullptr, &registers);
    change(registers);
    ptrace(PTRACE_SETREGS, m_pid, nullptr, &registers);
  }

  const pid_t m_pid;
  Told& m_told;
  const std::string& m_folder;
  Strike& m_strike;
  TracedEnd m_end;
  bool m_isFailing = false;  // the process is inside the call that fails
};

TracedEnd TracedWork::trace(Strike& strike) const {
  const Shared<Told> told;
  const bool isProgram = !m_folder.empty();
  const detail::OwnedFile output = detail::temporaryFile();
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t pid = fork();
  if (pid == 0) {
    if (isProgram) joinOutput(fileno(output.get()));
    beChild(*told);
  }
  TracedEnd end = Tracer(pid, *told, m_folder, strike).run();
  while (waitpid(-1, nullptr, 0) > 0) {  // what the process left behind comes to its end
  }
  const int exit = WIFEXITED(end.status) ? WEXITSTATUS(end.status) : -1;
  end.result = isProgram ? exit : told->result;
  end.text = isProgram ? detail::contentOf(output.get()) : told->text;
  return end;
}

std::size_t TracedWork::count(const Calls& calls) const {
  Strike none{calls, SIZE_MAX};
  const TracedEnd end = trace(none);
  EXPECT_TRUE(WIFEXITED(end.status)) << "undisturbed";
  return WEXITSTATUS(end.status) == kMayNotTrace ? 0 : none.seen;
}

TracedEnd TracedWork::killAt(std::size_t point) const {
  const Calls all;
  Strike strike{all, point};
  return trace(strike);
}

TracedEnd TracedWork::failAt(std::size_t point, int error, const Calls& calls,
                             bool isLasting) const {
  Strike strike{calls, point, error, isLasting};
  return trace(strike);
}

void TracedSweep::sweep(const std::string& what, std::size_t count,
                        const std::function<TracedEnd(std::size_t)>& strike) const {
  if (count == 0) GTEST_SKIP() << "processes may not be traced here";
  EXPECT_GE(count, least) << what;
  for (const std::size_t point : sweepPoints(what, count)) {
    SCOPED_TRACE(what + " at call " + std::to_string(point));
    prepare();
    look(strike(point));
    if (testing::Test::HasFailure()) return;
  }
}

void TracedSweep::killEverywhere() const {
  prepare();
  sweep(name + ", killed", work.count(), [&](std::size_t point) { return work.killAt(point); });
}

void TracedSweep::failEverywhere(int error) const {
  const Calls calls = callsThatEndWith(error);
  prepare();
  sweep(name + ", " + strerrorname_np(error), work.count(calls),
        [&](std::size_t point) { return work.failAt(point, error, calls); });
}

void TracedSweep::failFromEverywhere(int error, const Calls& calls) const {
  prepare();
  sweep(name + ", for good " + strerrorname_np(error), work.count(calls),
        [&](std::size_t point) { return work.failAt(point, error, calls, true); });
}

}  // namespace orca_tests
