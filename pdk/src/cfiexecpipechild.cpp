#include "cfiexecpipechild.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "V_strings.h"
#include "cfiretry.h"
#include "cfitracelog.h"

namespace orca_pdk_4_4 {

namespace {

constexpr const char* kLocaleNames[] = {"LANG",        "LC_ALL",      "LC_COLLATE", "LC_CTYPE",
                                        "LC_MESSAGES", "LC_MONETARY", "LC_NUMERIC", "LC_TIME"};
constexpr const char* kEmptyNames[] = {"CDPATH", "EDITOR", "ENV", "FPATH", "IFS"};

// What can go wrong in a child.
enum class Step { kOpenFile, kOpenNull, kStdin, kStdout, kStderr, kCloseRead, kCloseWrite, kExec };

struct Failure {
  Step step;
  int error;
};

// The failures of a child. Plain memory: a child may fill it while the parent waits.
struct Report {
  static constexpr int kMost = 4;

  Failure failures[kMost];
  int count = 0;
};

// The functions from here to startShared also run in a child that shares the memory of its waiting
// parent: they make system calls and write to their own frames and to the report, nothing else.

void note(Report& report, Step step) {
  if (report.count < Report::kMost) report.failures[report.count++] = {step, errno};
}

bool putInPlace(Report& report, Step step, int from, int to) {
  if (retryInterrupted([=] { return dup2(from, to); }) >= 0) return true;
  note(report, step);
  return false;
}

bool setStdin(const SFiChildPlan& plan, Report& report) {
  const bool isNull = plan.stdinFile == nullptr;
  const char* path = isNull ? "/dev/null" : plan.stdinFile;
  const int fd = retryInterrupted([=] { return open(path, O_RDONLY); });
  if (fd < 0) {
    note(report, isNull ? Step::kOpenNull : Step::kOpenFile);
    return false;
  }
  if (fd == STDIN_FILENO) return true;
  if (!putInPlace(report, Step::kStdin, fd, STDIN_FILENO)) return false;
  close(fd);
  return true;
}

bool setStreams(const SFiChildPlan& plan, Report& report) {
  if (!setStdin(plan, report) || !putInPlace(report, Step::kStdout, plan.writeEnd, STDOUT_FILENO) ||
      !putInPlace(report, Step::kStderr, plan.writeEnd, STDERR_FILENO)) {
    return false;
  }
  if (close(plan.readEnd) != 0) note(report, Step::kCloseRead);
  if (close(plan.writeEnd) != 0) note(report, Step::kCloseWrite);
  return true;
}

void becomeCommand(const SFiChildPlan& plan, Report& report) {
  execve(plan.arguments[0], plan.arguments, plan.environment);
  note(report, Step::kExec);
}

// The handlers of the host must not run in the child; the program starts without them anyway.
void takeSignals(const sigset_t& mask) {
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action;
    if (sigaction(number, nullptr, &action) != 0) continue;
    if (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN) continue;
    action.sa_handler = SIG_DFL;
    action.sa_flags = 0;
    sigaction(number, &action, nullptr);
  }
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

// Keeps signals and thread cancellation away while a child starts: it has the host's handlers, and
// perhaps this thread's stack.
class QuietThread {
 public:
  QuietThread() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &m_mask);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
  }
  ~QuietThread() {
    int ignored;
    pthread_setcancelstate(m_cancelState, &ignored);
    pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
  }
  QuietThread(const QuietThread&) = delete;
  QuietThread& operator=(const QuietThread&) = delete;

  const sigset_t& mask() const { return m_mask; }

 private:
  sigset_t m_mask;
  int m_cancelState = 0;
};

// The parent stands still until the child has become the command, and no page table is copied: the
// start costs the same whatever the size of the host.
pid_t startShared(const SFiChildPlan& plan, Report& report) {
  const QuietThread quiet;
  const pid_t pid = vfork();
  if (pid == 0) {
    takeSignals(quiet.mask());
    if (setStreams(plan, report)) becomeCommand(plan, report);
    _exit(1);
  }
  return pid;
}

void traceFailure(CFiTraceLog& log, const char* stdinFile, const Failure& failure) {
  const int error = failure.error;
  switch (failure.step) {
    case Step::kOpenFile:
      return log.trace(
          FI_TRACE_ERROR,
          "CFiExecPipePosix::ExecPipe ERROR: Could not open '%s' for reading, errno %d", stdinFile,
          error);
    case Step::kOpenNull:
      return log.trace(
          FI_TRACE_ERROR,
          "CFiExecPipePosix::ExecPipe ERROR: Could not open /dev/null for reading, errno %d",
          error);
    case Step::kStdin:
      return log.trace(FI_TRACE_ERROR,
                       "CFiExecPipePosix::ExecPipe ERROR: dup2(stdin) failed, errno %d", error);
    case Step::kStdout:
      return log.trace(FI_TRACE_ERROR,
                       "CFiExecPipePosix::ExecPipe ERROR: dup2(stdout) failed, errno %d", error);
    case Step::kStderr:
      return log.trace(FI_TRACE_ERROR,
                       "CFiExecPipePosix::ExecPipe ERROR: dup2(stderr) failed, errno %d", error);
    case Step::kCloseRead:
      return log.trace(FI_TRACE_ERROR,
                       "CFiExecPipePosix::ExecPipe ERROR: child close(pipe[0]) failed, errno %d",
                       error);
    case Step::kCloseWrite:
      return log.trace(FI_TRACE_ERROR,
                       "CFiExecPipePosix::ExecPipe ERROR: child close(pipe[1]) failed, errno %d",
                       error);
    case Step::kExec:
      return log.trace(FI_TRACE_ERROR, "CFiExecPipePosix::ExecPipe ERROR: execv() failed, errno %d",
                       error);
  }
}

// Writes the failures to the trace log and forgets them.
void trace(const SFiChildPlan& plan, Report& report, CFiTraceLog* log) {
  for (int i = 0; i < report.count && log != nullptr; ++i) {
    traceFailure(*log, plan.stdinFile, report.failures[i]);
  }
  report.count = 0;
}

// The parent goes on at once, since the child may need any time to open its standard input (a FIFO
// without a writer). The error handlers of the host have no business in the child.
pid_t startCopied(const SFiChildPlan& plan, CFiTraceLog* log) {
  const QuietThread quiet;
  const pid_t pid = fork();
  if (pid != 0) return pid;
  if (log != nullptr) log->registerErrorManager(nullptr);
  takeSignals(quiet.mask());
  Report report;
  const bool isReady = setStreams(plan, report);
  trace(plan, report, log);
  if (isReady) becomeCommand(plan, report);
  trace(plan, report, log);
  _exit(1);
}

}  // namespace

pid_t startChild(const SFiChildPlan& plan, CFiTraceLog* log) {
  if (plan.stdinFile != nullptr) return startCopied(plan, log);
  Report report;
  const pid_t pid = startShared(plan, report);
  const int error = errno;
  trace(plan, report, log);
  errno = error;
  return pid;
}

bool CFiChildEnvironment::build() {
  try {
    copyHost();
    for (const char* name : kLocaleNames) put(name, "C");
    for (const char* name : kEmptyNames) put(name, "");
    return true;
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

char* const* CFiChildEnvironment::get() const {
  return m_entries.empty() ? environ : m_entries.data();
}

void CFiChildEnvironment::copyHost() {
  std::size_t count = 0;
  while (environ != nullptr && environ[count] != nullptr) ++count;
  m_entries.reserve(count + m_texts.size() + 1);
  m_entries.assign(environ, environ + count);
  m_entries.push_back(nullptr);
}

void CFiChildEnvironment::put(const char* name, const char* value) {
  std::string& text = m_texts[m_textCount];
  text.resize(std::strlen(name) + 1 + std::strlen(value));
  V_snprintf(text.data(), text.size() + 1, "%s=%s", name, value);
  ++m_textCount;
  const std::size_t compared = std::strlen(name) + 1;
  for (char*& entry : m_entries) {
    if (entry != nullptr && std::strncmp(entry, text.c_str(), compared) == 0) {
      entry = text.data();
      return;
    }
  }
  m_entries.back() = text.data();
  m_entries.push_back(nullptr);
}

}  // namespace orca_pdk_4_4
