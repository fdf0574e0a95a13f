#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "V_strings.h"
#include "cfidescriptor.h"
#include "cfiexecpipe.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kPeriods = 3;
constexpr long kLongestLaterPeriod = 30;
constexpr int kPollMs = 100;
constexpr int kSignalBits = 0x7f;  // all of them set: the child is stopped, not ended

// Waits up to 100 ms, but not past the end of a process.
class ExitWatch {
 public:
  explicit ExitWatch(pid_t pid) : m_process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}

  void wait() {
    if (m_process.get() < 0) {
      millisleep(kPollMs);
      return;
    }
    pollfd wanted{m_process.get(), POLLIN, 0};
    // A process that has ended but cannot be reaped yet would make every further poll return at
    // once.
    if (poll(&wanted, 1, kPollMs) > 0) m_process.close();
  }

 private:
  CFiDescriptor m_process;
};

}  // namespace

int CFiExecPipePosix::WaitPid(long timeout) {
  if (m_pid <= 0) {
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::WaitPid ERROR: invalid child process pid");
    return -1;
  }
  for (int period = 0; period < kPeriods; ++period) {
    if (period > 0) {
      sendSignal(period);
      timeout = std::min(timeout, kLongestLaterPeriod);
    }
    int status = -1;
    if (waitPeriod(timeout, status)) return status;
  }
  traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::WaitPid ERROR: child process appears to be hung");
  return -1;
}

// True when the wait is over: the child was reaped, or there is none any more (status -1).
bool CFiExecPipePosix::waitPeriod(long timeout, int& status) {
  std::optional<ExitWatch> watch;
  const time_t start = time(nullptr);
  while (time(nullptr) - start <= timeout) {
    if (isReaped(status)) return true;
    if (!watch) watch.emplace(m_pid);
    watch->wait();
  }
  return false;
}

bool CFiExecPipePosix::isReaped(int& status) {
  const pid_t answer = waitpid(m_pid, &status, WNOHANG);
  if (answer == m_pid) {
    traceLine(FI_TRACE_DETAIL, "CFiExecPipePosix::WaitPid : waitpid got status %d", status);
  } else if (answer == -1 && errno == ECHILD) {
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::WaitPid ERROR: waitpid got ECHILD");
    status = -1;
  } else {
    return false;
  }
  // The number may belong to another process from now on.
  m_pid = -1;
  return true;
}

void CFiExecPipePosix::sendSignal(int period) {
  if (period == 1) {
    if (kill(m_pid, SIGTERM) == 0) return;
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::WaitPid ERROR: kill(%d, SIGTERM) failed, errno %d",
              m_pid, errno);
  } else {
    if (kill(m_pid, SIGKILL) == 0) return;
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::WaitPid ERROR: kill(%d, SIGKILL) failed, errno %d",
              m_pid, errno);
  }
}

int CFiExecPipePosix::Close(long timeout) {
  int result = FI_EXEC_OK;
  if (m_pipe >= 0) {
    const int pipe = m_pipe;
    m_pipe = -1;
    if (close(pipe) != 0) result = closeFailed(pipe, errno);
  }
  if (m_pid == -1) return result;
  const int status = WaitPid(timeout);
  if (status != -1) return statusResult(status, result);
  traceLine(FI_TRACE_WARNING, "Unexpected error encountered.");
  setLastError("Error in WaitPid()", FI_EXEC_WAIT_FAILED);
  return FI_EXEC_WAIT_FAILED;
}

int CFiExecPipePosix::closeFailed(int pipe, int error) {
  char message[100];
  V_snprintf(message, sizeof message, "close(%d) failed, errno %d", pipe, error);
  setLastError(message, FI_EXEC_CLOSE_FAILED);
  traceLine(FI_TRACE_WARNING, "CFiExecPipePosix::Close failed with error number [%d]", error);
  return FI_EXEC_CLOSE_FAILED;
}

// What a wait status means; result is what Close has come to so far.
int CFiExecPipePosix::statusResult(int status, int result) {
  const int signalBits = status & kSignalBits;
  const int exitCode = (status >> 8) & 0xff;
  char message[100];
  if (signalBits == kSignalBits) {
    V_snprintf(message, sizeof message, "Command terminated with unexpected status: %d", status);
    result = FI_EXEC_UNEXPECTED_STATUS;
  } else if (signalBits != 0) {
    V_snprintf(message, sizeof message, "Command terminated by signal %d", signalBits);
    result = FI_EXEC_SIGNALLED;
  } else if (exitCode != 0) {
    V_snprintf(message, sizeof message, "Command exited with status %d", exitCode);
    result = FI_EXEC_EXIT_STATUS;
  } else {
    return result;
  }
  traceLine(FI_TRACE_WARNING, "%s", message);
  setLastError(message, result);
  return result;
}

}  // namespace orca_pdk_4_4
