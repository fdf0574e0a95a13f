#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>

#include <cerrno>

#include "hostops/exec_support.h"

namespace {

using orca_tests::realOf;

// A clock that stands in for the real one while it is set. Waits move it and end at once. The time
// of day, which anybody can set, leaps with each look.
struct FakeClock {
  size_t fatalSignals = 0;  // so many signals end the child: the next wait is a real one
  long ms = 0;
  std::vector<std::string> calls = {};  // with the second in which they came
  int interruptions = 0;                // of the next waits for output, each after three seconds
  size_t signals = 0;
  bool signalsFail = false;

  void note(const std::string& call) { calls.push_back(call + " @" + std::to_string(ms / 1000)); }
};
FakeClock* g_clock = nullptr;

}  // namespace

extern "C" {

time_t time(time_t* out) noexcept {
  static time_t leaps = 0;
  return g_clock == nullptr ? realOf(&time, "time")(out) : 1000000 + 1000 * ++leaps;
}

// Visible to the C++ library.
__attribute__((visibility("default"))) int clock_gettime(clockid_t id, timespec* now) noexcept {
  if (g_clock == nullptr || id != CLOCK_MONOTONIC) {
    return realOf(&clock_gettime, "clock_gettime")(id, now);
  }
  *now = {1000 + g_clock->ms / 1000, g_clock->ms % 1000 * 1000000};
  return 0;
}

// The wait for the end of a child takes 100 ms, that for output whole seconds.
int poll(pollfd* fds, nfds_t count, int timeout) {
  const auto real = realOf(&poll, "poll");
  if (g_clock == nullptr) return real(fds, count, timeout);
  if (timeout == 100) {
    const bool isEnding = g_clock->fatalSignals != 0 && g_clock->signals >= g_clock->fatalSignals;
    const int ready = real(fds, count, isEnding ? 10000 : 0);
    if (ready == 0) g_clock->ms += timeout;
    return ready;
  }
  g_clock->note("poll " + std::to_string(timeout));
  const bool isInterrupted = g_clock->interruptions-- > 0;
  g_clock->ms += isInterrupted ? 3000 : timeout;
  errno = EINTR;
  return isInterrupted ? -1 : 0;
}

int kill(pid_t pid, int number) noexcept {
  if (g_clock == nullptr) return realOf(&kill, "kill")(pid, number);
  g_clock->note("kill " + std::to_string(number));
  ++g_clock->signals;
  errno = EPERM;
  return g_clock->signalsFail ? -1 : realOf(&kill, "kill")(pid, number);
}

}  // extern "C"

namespace orca_tests {
namespace {

class ExecWait : public ExecTest {
 protected:
  void SetUp() override {
    ExecTest::SetUp();
    if (isUnderValgrind()) GTEST_SKIP() << "waits need a pidfd, which valgrind does not know";
  }
  void TearDown() override {
    m_clock = {1};
    m_pipe.Close(0);
    g_clock = nullptr;
    ExecTest::TearDown();
  }
  // Starts a script and answers with its first line. From then on time is our own.
  std::string start(const std::string& script, const FakeClock& clock = {}) {
    g_clock = nullptr;
    EXPECT_EQ(m_pipe.ExecPipe("/bin/sh -c '" + script + "'", ""), 0);
    const std::string line = readLine();
    m_clock = clock;
    g_clock = &m_clock;
    return line;
  }
  FakeClock m_clock;
};

TEST_F(ExecWait, SendsTheSecondSignalToAChildThatIgnoresTheFirst) {
  start("trap \"\" TERM; echo ready; exec sleep 100", {2});
  EXPECT_EQ(summary(m_pipe.Close(10)), "12|Command terminated by signal 9|");
  EXPECT_EQ(m_clock.calls, Texts({"kill 15 @11", "kill 9 @22"}));
}

TEST_F(ExecWait, GivesUpAChildThatCannotBeEndedAfterThreePeriods) {
  std::string pid = start("echo $$; exec sleep 100");
  pid.pop_back();
  m_clock.signalsFail = true;
  EXPECT_EQ(m_pipe.WaitPid(100), -1);
  EXPECT_EQ(m_clock.calls, Texts({"kill 15 @101", "kill 9 @132"}));
  EXPECT_EQ(m_clock.ms, 163000);
  const std::string error = "1 CFiExecPipePosix::WaitPid ERROR: ";
  EXPECT_EQ(m_recorder.lines, Texts({error + "kill(" + pid + ", SIGTERM) failed, errno 1",
                                     error + "kill(" + pid + ", SIGKILL) failed, errno 1",
                                     error + "child process appears to be hung"}));
  EXPECT_EQ(summary(m_pipe.Close(1)), "8|Error in WaitPid()|");
  EXPECT_EQ(m_recorder.lines.back(), "2 Unexpected error encountered.");
}

TEST_F(ExecWait, TimesOutOnSilence) {
  const std::string fifo = m_root.file("fifo"), leased = m_root.file("leased");
  mkfifo(fifo.c_str(), 0600);
  // To open a leased file takes until the lease ends.
  const int file = open(leased.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  fcntl(file, F_SETSIG, SIGURG);
  ASSERT_EQ(fcntl(file, F_SETLEASE, F_WRLCK), 0);
  // A handler of the host runs in no child.
  const auto handler = signal(SIGTERM, [](int) {});
  g_clock = &m_clock;
  for (const std::string& input : {std::string(), fifo, leased}) {
    SCOPED_TRACE(input);
    m_clock = {1};
    EXPECT_EQ(run(input.empty() ? "/bin/sleep 100" : "/bin/cat", input, 7),
              "5|Process has timmedout (7 sec)|");
    EXPECT_EQ(m_clock.calls, Texts({"poll 7000 @0"}));
    EXPECT_EQ(m_recorder.lines.back(), "1 Process has timmedout (7 sec)");
    EXPECT_EQ(run("'"), "6|'|") << "nothing was started";
    EXPECT_EQ(summary(m_pipe.Close(10)), "12|Command terminated by signal 15|");
  }
  signal(SIGTERM, handler);
  close(file);
}

TEST_F(ExecWait, ClosesAfterATimeoutWhenItWasMadeTo) {
  m_clock = {1};
  g_clock = &m_clock;
  Pipe closing({"list"}, 1);
  closing.registerTraceLog(m_log);
  EXPECT_EQ(closing.Exec("/bin/sleep 100", m_output, "", 1, "5", "6", "7"), 5);
  EXPECT_EQ(m_recorder.lines.back(), "2 Close of the process returned 12");
}

TEST_F(ExecWait, GoesOnWaitingAfterASignal) {
  start("echo ready; exec sleep 100");
  m_clock.interruptions = 3;
  EXPECT_EQ(readLine(8), "(none)!");
  EXPECT_EQ(m_clock.calls, Texts({"poll 8000 @0", "poll 5000 @3", "poll 2000 @6"}));
}

TEST_F(ExecWait, DeliversTheStartOfALineWithTheTimeout) {
  start("printf \"ready\\npart\"; exec sleep 100");
  EXPECT_EQ(readLine(8), "part!");
  EXPECT_EQ(readLine(8), "(none)") << "the output is closed";
}

TEST_F(ExecWait, KeepsTheOutputOpenForAGrandchild) {
  const std::string grandchild = start("sleep 100 & echo $!");
  EXPECT_EQ(readLine(5), "(none)!");
  g_clock = nullptr;
  EXPECT_EQ(m_pipe.Close(10), 0);
  EXPECT_EQ(kill(std::stoi(grandchild), SIGKILL), 0);
}

}  // namespace
}  // namespace orca_tests
