#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/time.h>

#include "hostops/exec_support.h"

namespace orca_tests {
namespace {

class Exec : public ExecTest {};

TEST_F(Exec, AnswersWithTheOutcomeOfACommand) {
  writeFile(m_root.path() / "in", "text");
  const std::string before = "0|Command terminated by signal 9|";
  const std::string reaped = "6 CFiExecPipePosix::WaitPid : waitpid got status 0";
  const std::string bad = "1 CFiExecPipePosix::ExecPipe ParseCommand operation has failed.";
  const struct {
    std::string command, answer, lastLine;
  } cases[] = {
      {"", "6||old^", bad},
      {"/bin/echo 'a", "6|/bin/echo 'a|old^", bad},
      {"sh -c x", "7|sh -c x|old^", "1 CFiExecPipePosix::ExecPipe command [sh] does not exists."},
      {"/bin/sh -c 'exit 2'", "11|Command exited with status 2|", "2 Command exited with status 2"},
      {"/bin/sh -c 'kill -9 $$'", "12|Command terminated by signal 9|",
       "2 Command terminated by signal 9"},
      {"/bin/cat", before + "text^", reaped},
      {"/bin/sh -c 'echo a; echo b >&2; echo; printf c'", before + "a\n^b\n^\n^c^", reaped},
      {"/usr/bin/printf 'a\\0b\\n\\0\\0'", before + std::string("a\0b\n^\0\0^", 8), reaped}};
  m_output = {"old"};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.command);
    EXPECT_EQ(run(one.command, m_root.file("in")), one.answer);
    EXPECT_EQ(m_recorder.lines.back(), one.lastLine);
  }
  EXPECT_EQ(m_pipe.getLastError().wideMessage, L"Command terminated by signal 9");
  EXPECT_EQ(m_pipe.getLastError().code, 12);
}

TEST_F(Exec, AnswersForAStoppedCommandWithItsStatus) {
  struct Stopped : Pipe {
    using Pipe::Pipe;
    int WaitPid(long timeout) override { return Pipe::WaitPid(timeout) + 0x137f; }
  } pipe(0);
  ASSERT_EQ(pipe.ExecPipe("/bin/true", ""), 0);
  EXPECT_EQ(pipe.Close(10), 13);
  EXPECT_EQ(pipe.getLastError().message, "Command terminated with unexpected status: 4991");
}

TEST_F(Exec, CutsLongLinesAt8190Bytes) {
  run("/bin/sh -c 'for n in 8189 8190 16381; do head -c $n /dev/zero | tr \"\\0\" x; echo; done'");
  std::vector<size_t> sizes;
  for (const std::string& line : m_output) sizes.push_back(line.size());
  EXPECT_EQ(sizes, std::vector<size_t>({8190, 8190, 1, 8190, 8190, 2}));
}

TEST_F(Exec, ReadsNoMoreThan512BytesAtATime) {
  const int end = nextDescriptor();
  ASSERT_EQ(m_pipe.ExecPipe("/bin/sh -c 'echo a; head -c 3000 /dev/zero'", ""), 0);
  siginfo_t ended;
  waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
  EXPECT_EQ(readLine(), "a\n");
  int waiting = 0;
  ioctl(end, FIONREAD, &waiting);
  EXPECT_EQ(waiting, 3002 - 512);
  EXPECT_EQ(m_pipe.Close(10), 0);
}

TEST_F(Exec, DoesNothingWithoutACommand) {
  char line[2];
  EXPECT_FALSE(m_pipe.ReadLine(line, 2, nullptr, 1));
  EXPECT_EQ(m_pipe.WaitPid(1), -1);
  EXPECT_EQ(m_recorder.lines,
            Texts({"1 CFiExecPipePosix::WaitPid ERROR: invalid child process pid"}));
  EXPECT_EQ(m_pipe.Close(1), 0);
}

TEST_F(Exec, KeepsALineUntilThereIsRoomForIt) {
  char line[2];
  ASSERT_EQ(m_pipe.ExecPipe("/bin/echo a", ""), 0);
  EXPECT_FALSE(m_pipe.ReadLine(line, 1, nullptr, 60));
  EXPECT_FALSE(m_pipe.ReadLine(nullptr, 8, nullptr, 60));
  EXPECT_TRUE(m_pipe.ReadLine(line, 2, nullptr, 60));
  EXPECT_STREQ(line, "a");
  EXPECT_EQ(m_pipe.Close(10), 0);
  EXPECT_EQ(m_pipe.Close(10), 0) << "the second time";
}

TEST_F(Exec, GivesTheCommandAPlainLocaleAndTheHostsOtherVariables) {
  const ScopedEnv lang("LANG", "de_DE.UTF-8");
  const ScopedEnv ifs("IFS", "x");
  EXPECT_EQ(run("/usr/bin/env")[0], '0');
  for (const std::string& text : Texts(
           {"LANG=C", "LC_ALL=C", "LC_COLLATE=C", "LC_CTYPE=C", "LC_MESSAGES=C", "LC_MONETARY=C",
            "LC_NUMERIC=C", "LC_TIME=C",
            "CDPATH=", "EDITOR=", "ENV=", "FPATH=", "IFS=", "ORCA_INSTALL_ROOT=" + m_root.str()})) {
    const std::string name = text.substr(0, text.find('=') + 1);
    Texts set;
    std::copy_if(m_output.begin(), m_output.end(), std::back_inserter(set),
                 [&](const std::string& line) { return line.starts_with(name); });
    EXPECT_EQ(set, Texts{text + "\n"}) << "in the place of what was inherited";
  }
  EXPECT_STREQ(getenv("LANG"), "de_DE.UTF-8");
}

TEST_F(Exec, AppendsTheFrameworksOutputInChildContext) {
  const ScopedEnv context("ORCA_CHILD_CONTEXT", "1");
  m_output = {"old"};
  EXPECT_EQ(run("echo a; echo; printf b; exit 3"), "3||old^a^b^");
  EXPECT_EQ(m_recorder.lines, Texts({"6 Executing command in child context."}));
}

TEST_F(Exec, StartsAfreshOverAnUnfinishedCommand) {
  ASSERT_EQ(m_pipe.ExecPipe("/bin/sh -c 'echo a; echo b'", ""), 0);
  EXPECT_EQ(readLine(), "a\n");
  siginfo_t ended;
  waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
  EXPECT_EQ(run("/bin/echo c"), "0||c\n^");
}

TEST_F(Exec, StopsAtOnceAfterAnAbort) {
  m_pipe.Abort();
  EXPECT_EQ(run("/usr/bin/yes"), "12|Command terminated by signal 13|");
}

TEST_F(Exec, KeepsNoMoreOutputThanItsLimit) {
  m_pipe.setOutputLimit(2 * (sizeof(std::string) + 2));
  EXPECT_EQ(run("/usr/bin/printf 'y\\ny\\n'"), "0||y\n^y\n^");
  EXPECT_FALSE(m_pipe.IsAbortRequested());
  EXPECT_EQ(run("/usr/bin/yes"), "12|Command terminated by signal 13|y\n^y\n^");
  EXPECT_TRUE(m_pipe.IsAbortRequested());
  const ScopedEnv context("ORCA_CHILD_CONTEXT", "1");
  m_output.clear();
  EXPECT_EQ(run("yes yy | head -n 9").substr(0, 2), "0|");
  EXPECT_EQ(m_output, Texts({"yy", "yy"}));
}

TEST_F(Exec, GivesTheCommandItsThreeStreamsWhateverTheHostHasOpen) {
  const std::string file = m_root.file("in");
  writeFile(file, "x");
  const std::string command =
      "/bin/sh -c 'cat; echo e >&2; for f in 0 1 2 3 4 5 6 7 8 9; do"
      " test -e /proc/$$/fd/$f && echo $f; done; :'";
  for (const char* input : {file.c_str(), ""}) {
    for (int closed = 0; closed < 8; ++closed) {
      SCOPED_TRACE(input + std::to_string(closed));
      const std::string answer = inProcess([&] {
        const rlimit limit{4096, 4096};
        setrlimit(RLIMIT_NOFILE, &limit);
        while (fcntl(0, F_DUPFD_CLOEXEC, 0) < 3000) {
        }
        close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);  // what the test itself has inherited
        for (int fd = 0; fd < 3; ++fd) {
          if ((closed >> fd & 1) != 0) close(fd);
        }
        return run(command, input);
      });
      EXPECT_EQ(answer, *input == '\0' ? "0||e\n^0\n^1\n^2\n^" : "0||xe\n^0\n^1\n^2\n^");
    }
  }
}

// Runs function in a process that ignores USR1, blocks USR2 and handles ALRM.
std::string withSignals(const std::function<std::string()>& function) {
  return inProcess([&] {
    for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
    signal(SIGUSR1, SIG_IGN);
    signal(SIGALRM, [](int) {});
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    return function();
  });
}

TEST_F(Exec, LeavesTheHandlingOfSignalsAsItIs) {
  if (isUnderValgrind()) GTEST_SKIP() << "valgrind handles signals itself";
  const std::string ignored = "SigIgn:\t0000000000000200\n",
                    blocked = "SigBlk:\t0000000000000800\n";
  for (const char* input : {"", "/dev/zero"}) {
    SCOPED_TRACE(input);
    const std::string answer = withSignals([&, this] {
      const std::string command = run("/bin/grep Sig[BI] /proc/self/status", input);
      const std::string host = readFile("/proc/self/status");
      return command + host.substr(host.find("SigBlk"), host.find("CapInh") - host.find("SigBlk"));
    });
    EXPECT_EQ(answer, "0||" + blocked + "^" + ignored + "^" + blocked + ignored +
                          "SigCgt:\t0000000000002000\n");
  }
}

TEST_F(Exec, IsNotDisturbedBySignals) {
  EXPECT_EQ(withSignals([this] {
              const itimerval often{{0, 500}, {0, 500}};
              setitimer(ITIMER_REAL, &often, nullptr);
              return run("/bin/sh -c 'sleep 0.05; echo a; exec >&- 2>&-; sleep 0.05'");
            }),
            "0||a\n^");
}

}  // namespace
}  // namespace orca_tests
