#include "tool.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <array>
#include <cstring>

namespace firecord {

namespace {

constexpr std::array kPassedOn{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2};

volatile pid_t g_running = 0;

// What a terminal sends, the tool has got itself.
void passOn(int signal, siginfo_t* info, void*) {
  const int before = errno;
  if (g_running > 0 && info->si_code <= 0) kill(g_running, signal);
  errno = before;
}

// Signals that end this program go to the tool; those that it ignores stay ignored.
void catchSignals() {
  for (const int signal : kPassedOn) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action.sa_sigaction = passOn;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

void uncatchSignals() {
  for (const int signal : kPassedOn) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_IGN) ::signal(signal, SIG_DFL);
  }
}

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw fileTrouble("pipe", "cannot make one");
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
  }
  Descriptor reading;
  Descriptor writing;
};

// Keeps the signals that are passed on waiting for the scope.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kPassedOn) sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, &m_before);
  }
  ~SignalsHeld() { release(); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

  void release() const { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

 private:
  sigset_t m_before;
};

// Becomes the tool, or tells through a pipe why not.
[[noreturn]] void become(char* const* words, pid_t parent, const SignalsHeld& signals, int output,
                         int errors, int tell) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) raise(SIGKILL);
  uncatchSignals();
  signals.release();
  if (dup2(output, STDOUT_FILENO) >= 0 && dup2(errors, STDERR_FILENO) >= 0) execvp(words[0], words);
  const int error = errno;
  const ssize_t told = retried([&] { return write(tell, &error, sizeof error); });
  _exit(told < 0 ? kNotExecutable : kNotFound);
}

// Throws Trouble when the child told why it is not the tool.
void requireStarted(const Pipe& telling, const std::string& name) {
  int error = 0;
  const auto got = retried([&] { return read(telling.reading.get(), &error, sizeof error); });
  if (got < 0) throw fileTrouble(name, "cannot tell whether it runs");
  if (got == 0) return;
  const Exit exit = error == ENOENT || error == ENOTDIR ? kNotFound : kNotExecutable;
  throw Trouble{exit, fileTrouble(name, "cannot run it", error).text};
}

}  // namespace

Tool::Tool(const std::vector<std::string>& words, bool isJoined) {
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  Pipe out, err, telling;
  catchSignals();
  {
    const SignalsHeld held;
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid == 0) {
      const Pipe& second = isJoined ? out : err;
      become(argv.data(), parent, held, out.writing.get(), second.writing.get(),
             telling.writing.get());
    }
    if (m_pid < 0) throw fileTrouble(words[0], "cannot start a process");
    g_running = m_pid;
  }
  telling.writing = Descriptor();
  requireStarted(telling, words[0]);
  output = std::move(out.reading);
  if (!isJoined) errors = std::move(err.reading);
}

void Tool::wait(Call& call) {
  siginfo_t info{};
  retried([&] { return waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT); });
  g_running = 0;  // before its number can be another process's
  int status = 0;
  if (retried([&] { return waitpid(m_pid, &status, 0); }) != m_pid) {
    throw fileTrouble(call.tool, "cannot tell how it ended");
  }
  if (WIFSIGNALED(status)) {
    call.signal = WTERMSIG(status);
  } else {
    call.status = WEXITSTATUS(status);
  }
}

}  // namespace firecord
