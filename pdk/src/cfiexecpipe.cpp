#include "cfiexecpipe.h"

#include <fcntl.h>
#include <fiutil.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "V_strings.h"
#include "cficommandwords.h"
#include "cfidescriptor.h"
#include "cfiexecpipechild.h"
#include "cfiretry.h"
#include "cfitracelog.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kArgumentStep = 10;
constexpr int kFirstFree = STDERR_FILENO + 1;
constexpr long kLongestPoll = 1000000;  // seconds; poll counts milliseconds in an int

// In a host that has closed its standard streams a pipe gets their numbers; moved away from there,
// its ends are not in the way of the child's own streams.
bool moveUp(int& fd) {
  if (fd >= kFirstFree) return true;
  const int moved = fcntl(fd, F_DUPFD_CLOEXEC, kFirstFree);
  if (moved < 0) return false;
  close(fd);
  fd = moved;
  return true;
}

bool openPipe(int (&ends)[2]) {
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  // The read end does not block, so that poll need only be asked when it is empty.
  if (moveUp(ends[0]) && moveUp(ends[1]) && fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0) return true;
  const int error = errno;
  close(ends[0]);
  close(ends[1]);
  errno = error;
  return false;
}

// Whole seconds since it was made, by a clock that nobody sets.
class Stopwatch {
 public:
  long seconds() const {
    return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - m_start).count();
  }

 private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point m_start = Clock::now();
};

// A buffer of the framework that goes back to it.
class FrameworkBuffer {
 public:
  FrameworkBuffer(char* data, int size) : m_data(data), m_size(static_cast<std::size_t>(size)) {}
  ~FrameworkBuffer() { orca_free_buf(m_data, m_size); }
  FrameworkBuffer(const FrameworkBuffer&) = delete;
  FrameworkBuffer& operator=(const FrameworkBuffer&) = delete;

  std::string_view text() const { return {m_data, strnlen(m_data, m_size)}; }

 private:
  char* m_data;
  std::size_t m_size;
};

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

// The line that ReadLine builds.
struct CFiExecPipePosix::Output {
  char* data;
  int room;  // without the terminating NUL
  int used = 0;
};

CFiExecPipePosix::CFiExecPipePosix(int closeAfterExec) : CFiExecPipeBase(closeAfterExec) {
  CFiExecPipePosix::Init();
}

CFiExecPipePosix::CFiExecPipePosix(std::vector<std::string> list, int closeAfterExec)
    : CFiExecPipeBase(std::move(list), closeAfterExec) {
  CFiExecPipePosix::Init();
}

CFiExecPipePosix::~CFiExecPipePosix() {
  letGo();
  clearArguments();
}

int CFiExecPipePosix::ExecPipe(std::string command, std::string arg) {
  clearArguments();
  m_command = std::move(command);
  m_argument = std::move(arg);
  if (!ParseCommand(m_command.c_str())) {
    setLastError(m_command, FI_EXEC_BAD_COMMAND);
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::ExecPipe ParseCommand operation has failed.");
    return FI_EXEC_BAD_COMMAND;
  }
  if (access(m_arguments[0], X_OK) != 0) {
    setLastError(m_command, FI_EXEC_NOT_EXECUTABLE);
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::ExecPipe command [%s] does not exists.",
              m_arguments[0]);
    return FI_EXEC_NOT_EXECUTABLE;
  }
  return startCommand();
}

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

bool CFiExecPipePosix::ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) {
  unsigned char isTimedOut = 0;
  if (timedOut == nullptr) timedOut = &isTimedOut;
  *timedOut = 0;
  if (m_pipe < 0 || buffer == nullptr || size < 2) return false;
  Output line{buffer, size - 1};
  bool isDone = takeBuffered(line);
  while (!isDone && refill(*timedOut, timeout)) isDone = takeBuffered(line);
  if (!isDone) closeReadEnd();
  if (line.used == 0) return false;
  buffer[line.used] = '\0';
  setLineLength(static_cast<std::size_t>(line.used));
  return true;
}

bool CFiExecPipePosix::IsChildContext() { return orca_is_child_context() != 0; }

int CFiExecPipePosix::ExecCommandInChildContext(std::string command,
                                                std::vector<std::string>& output) {
  char* data = nullptr;
  int length = 0;
  const int result = orca_exec_cmd_in_child_context(command.c_str(), &data, &length);
  if (length <= 0 || data == nullptr) return result;
  const FrameworkBuffer buffer(data, length);
  try {
    keepLines(buffer.text(), output);
  } catch (const std::bad_alloc&) {
    traceLine(FI_TRACE_ERROR,
              "CFiExecPipePosix::ExecCommandInChildContext ERROR: no memory for the output");
    return -1;
  }
  return result;
}

void CFiExecPipePosix::Init() {
  letGo();
  clearArguments();
}

bool CFiExecPipePosix::ParseCommand(const char* text) {
  std::string_view word;
  EFiWord found;
  while ((found = findCommandWord(text, word)) == EFiWord::FOUND) {
    if (!AddArgument(word.data(), word.size())) return false;
  }
  return found == EFiWord::END && m_argumentCount > 0 && AddArgument(nullptr, 0);
}

bool CFiExecPipePosix::AddArgument(const char* start, std::size_t length) {
  if (m_argumentCount == m_argumentCapacity && !growArguments()) return false;
  char* argument = nullptr;
  if (start != nullptr) {
    argument = new (std::nothrow) char[length + 1];
    if (argument == nullptr) {
      traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::AddArgument() ERROR: new[%d] failed, errno %d",
                static_cast<int>(length + 1), errno);
      return false;
    }
    argument[unquoteCommandWord({start, length}, argument)] = '\0';
  }
  m_arguments[m_argumentCount++] = argument;
  return true;
}

char* const* CFiExecPipePosix::getArguments() const { return m_arguments; }

const std::string& CFiExecPipePosix::getArgument() const { return m_argument; }

bool CFiExecPipePosix::growArguments() {
  const int capacity = m_argumentCapacity + kArgumentStep;
  const std::size_t size = static_cast<std::size_t>(capacity) * sizeof(char*);
  void* grown = std::realloc(m_arguments, size);
  if (grown == nullptr) {
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::AddArgument ERROR: realloc(%d) failed, errno %d",
              static_cast<int>(size), errno);
    return false;
  }
  m_arguments = static_cast<char**>(grown);
  m_argumentCapacity = capacity;
  return true;
}

void CFiExecPipePosix::clearArguments() {
  for (int i = 0; i < m_argumentCount; ++i) delete[] m_arguments[i];
  std::free(m_arguments);
  m_arguments = nullptr;
  m_argumentCount = 0;
  m_argumentCapacity = 0;
}

void CFiExecPipePosix::letGo() {
  if (m_pipe >= 0) close(m_pipe);
  if (m_pid > 0) waitpid(m_pid, nullptr, WNOHANG);
  m_pid = -1;
  m_pipe = -1;
  m_readCount = 0;
  m_readPosition = 0;
}

int CFiExecPipePosix::startCommand() {
  int ends[2] = {-1, -1};
  if (!openPipe(ends)) return pipeFailed(errno);
  CFiChildEnvironment environment;
  if (!environment.build()) {
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::ExecPipe locale modification failed, errno %d",
              errno);
  }
  const SFiChildPlan plan{getStdinFile().empty() ? nullptr : getStdinFile().c_str(), ends[0],
                          ends[1], m_arguments, environment.get()};
  const pid_t pid = startChild(plan, getTraceLog().get());
  if (pid < 0) return forkFailed(ends, errno);
  letGo();
  m_pid = pid;
  m_pipe = ends[0];
  if (close(ends[1]) != 0) {
    traceLine(FI_TRACE_ERROR,
              "CFiExecPipePosix::ExecPipe ERROR: parent close(pipe[1]) failed, errno %d", errno);
  }
  return FI_EXEC_OK;
}

int CFiExecPipePosix::failStart(int code, int error) {
  char text[100];
  V_snprintf(text, sizeof text, "errno=%d", error);
  setLastError(text, code);
  return code;
}

int CFiExecPipePosix::pipeFailed(int error) {
  traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: pipe(%d) failed, errno %d", m_pipe,
            error);
  return failStart(FI_EXEC_PIPE_FAILED, error);
}

int CFiExecPipePosix::forkFailed(const int (&ends)[2], int error) {
  if (close(ends[0]) != 0) {
    traceLine(FI_TRACE_ERROR,
              "CFiExecPipePosix::ExecPipe ERROR: failed fork close(pipe[0]) failed, errno %d",
              errno);
  }
  if (close(ends[1]) != 0) {
    traceLine(FI_TRACE_ERROR,
              "CFiExecPipePosix::ExecPipe ERROR: failed fork close(pipe[1]) failed, errno %d",
              errno);
  }
  traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: fork() failed, errno %d", error);
  return failStart(FI_EXEC_FORK_FAILED, error);
}

// True when the line is complete: it has its newline or fills the buffer.
bool CFiExecPipePosix::takeBuffered(Output& line) {
  const int most = std::min(m_readCount - m_readPosition, line.room - line.used);
  if (most <= 0) return false;
  const char* start = m_readBuffer + m_readPosition;
  const void* newline = std::memchr(start, '\n', static_cast<std::size_t>(most));
  const int taken =
      newline == nullptr ? most : static_cast<int>(static_cast<const char*>(newline) - start) + 1;
  std::memcpy(line.data + line.used, start, static_cast<std::size_t>(taken));
  m_readPosition += taken;
  line.used += taken;
  return newline != nullptr || line.used == line.room;
}

// False at the end of the output, after a failure and after a time-out. A read costs less than a
// wait, so that it comes first.
bool CFiExecPipePosix::refill(unsigned char& timedOut, long timeout) {
  m_readCount = 0;
  m_readPosition = 0;
  timedOut = timeout < 0 ? 1 : 0;
  while (timedOut == 0) {
    const ssize_t got = retryInterrupted([this] { return read(m_pipe, m_readBuffer, kReadSize); });
    if (got >= 0) {
      m_readCount = static_cast<int>(got);
      return got > 0;
    }
    if (errno != EAGAIN) {
      traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::ReadLine ERROR: read() failed, errno %d", errno);
      return false;
    }
    if (!waitForOutput(timeout)) timedOut = 1;
  }
  return false;
}

bool CFiExecPipePosix::waitForOutput(long timeout) const {
  const Stopwatch watch;
  do {
    const long rest = std::clamp(timeout - watch.seconds(), 0L, kLongestPoll);
    pollfd wanted{m_pipe, POLLIN, 0};
    if (poll(&wanted, 1, static_cast<int>(rest * 1000)) == 1) return true;
  } while (watch.seconds() < timeout);
  return false;
}

void CFiExecPipePosix::keepLines(std::string_view text, std::vector<std::string>& output) {
  std::size_t kept = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (end != 0 && !keepLine(text.substr(0, end), output, kept)) return;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void CFiExecPipePosix::closeReadEnd() {
  if (close(m_pipe) != 0) {
    traceLine(FI_TRACE_ERROR, "CFiExecPipePosix::Readline ERROR: close(%d) failed, errno %d",
              m_pipe, errno);
  }
  m_pipe = -1;
}

// True when the wait is over: the child was reaped, or there is none any more (status -1).
bool CFiExecPipePosix::waitPeriod(long timeout, int& status) {
  const Stopwatch watch;
  std::optional<ExitWatch> end;
  while (watch.seconds() <= timeout) {
    if (isReaped(status)) return true;
    if (!end) end.emplace(m_pid);
    end->wait();
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
