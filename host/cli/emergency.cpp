#include "cli/emergency.h"

#include <signal.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "cli/endingsignals.h"
#include "cli/exitstatus.h"
#include "cli/text.h"
#include "framework/currentoperation.h"
#include "framework/exceptions.h"

namespace fihost {

namespace {

constexpr int kCrashes[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS};
constexpr unsigned kSecondsForAnswer = 10;
constexpr std::size_t kStackSize = std::size_t{256} * 1024;

Emergency::PrintAnswer g_printAnswer;
Emergency::PrintText g_printInstead;
pid_t g_process = 0;
volatile sig_atomic_t g_isEnding = 0;

int timeSignal() { return SIGRTMAX - 1; }

[[noreturn]] void leave(int status) {
  syscall(SYS_exit_group, status);
  __builtin_unreachable();
}

void writeError(const char* text) {
  const ssize_t ignored = write(STDERR_FILENO, text, strlen(text));
  static_cast<void>(ignored);
}

// The document where none can be made; what JSON does not take as it is becomes a "?".
void printInstead(const char* what) {
  static char text[4096] = "{\"exit\": 1, \"error\": \"";
  std::size_t size = strlen(text);
  const CurrentOperation* current = CurrentOperation::get();
  const char* const parts[] = {current == nullptr ? "fihost" : current->sentence().c_str(), ": ",
                               what};
  for (const char* part : parts) {
    for (; *part != '\0' && size < sizeof text - 8; ++part) {
      const bool isPlain = *part >= ' ' && *part < 0x7f && *part != '"' && *part != '\\';
      text[size++] = isPlain ? *part : '?';
    }
  }
  for (const char c : {'"', '}', '\n'}) text[size++] = c;
  g_printInstead(text, size);
}

void onSignal(int number);

void handle(int number, int flags) {
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_ONSTACK | SA_NODEFER | flags;
  struct sigaction old {};
  sigaction(number, nullptr, &old);
  // A host that was started to ignore a signal goes on ignoring it.
  if (old.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
}

// Says what happened and prints the answer; whoever comes here again leaves less behind.
void end(const char* what) {
  const bool isAgain = g_isEnding != 0;
  g_isEnding = 1;
  if (isAgain) {
    printInstead(what);
    leave(kRefused);
  }
  handle(SIGALRM, 0);
  alarm(kSecondsForAnswer);
  const CurrentOperation* current = CurrentOperation::get();
  writeError("fihost: ");
  writeError(current == nullptr ? "the host" : current->sentence().c_str());
  writeError(": ");
  writeError(what);
  if (current != nullptr && !current->changed().empty()) {
    writeError("; ");
    writeError(current->changed().c_str());
  }
  writeError("\n");
  g_printAnswer(what);
}

void onSignal(int number) {
  const bool isFromOutside = isEndingSignal(number);
  if (getpid() == g_process) {
    char what[128];
    if (number == timeSignal()) {
      snprintf(what, sizeof what, "did not come back within the time-out");
    } else {
      snprintf(what, sizeof what, "%s by signal %d (%s)", isFromOutside ? "ended" : "crashed",
               number, strsignal(number));
    }
    end(what);
    if (!isFromOutside) leave(kRefused);
  }
  signal(number, SIG_DFL);
  raise(number);
}

void onExit() {
  if (getpid() != g_process || CurrentOperation::get() == nullptr) return;
  end("ended the process by exit");
  leave(kRefused);
}

[[noreturn]] void onTerminate() {
  std::string what = "failed, and the process was to be terminated";
  if (std::current_exception())
    what = printable("raised " + currentException() + "; it cannot be caught");
  end(what.c_str());
  leave(kRefused);
}

}  // namespace

Emergency::Emergency(PrintAnswer printAnswer, PrintText printInstead, int timeout) {
  g_printAnswer = std::move(printAnswer);
  g_printInstead = std::move(printInstead);
  g_process = getpid();
  static std::array<char, kStackSize> stack;
  const stack_t alternative{stack.data(), 0, stack.size()};
  sigaltstack(&alternative, nullptr);
  for (const int number : kCrashes) handle(number, 0);
  for (const int number : kEndingSignals) handle(number, SA_RESTART);
  handle(timeSignal(), 0);
  std::set_terminate(onTerminate);
  std::atexit(onExit);
  std::at_quick_exit(onExit);
  CurrentOperation::setTimeLimit(timeout, timeSignal());
}

Emergency::~Emergency() { g_process = 0; }

}  // namespace fihost

// Plug-ins find these before the C library's: what calls them leaves no other trace.
#define FIHOST_EXITS extern "C" __attribute__((visibility("default"), noreturn))
FIHOST_EXITS void _exit(int status) {  // NOLINT(bugprone-reserved-identifier)
  fihost::onExit();
  fihost::leave(status);
}
FIHOST_EXITS void _Exit(int status) noexcept {  // NOLINT(bugprone-reserved-identifier)
  fihost::onExit();
  fihost::leave(status);
}
