#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "hostops/exec_support.h"

namespace orca_tests {
namespace {

class Exec : public ExecTest {};

TEST_F(Exec, AnswersWithTheResultTheMessageAndTheOutput) {
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
    EXPECT_EQ(run(one.command, m_root.file("in")), one.answer);
    EXPECT_EQ(m_recorder.lines.back(), one.lastLine);
  }
  EXPECT_EQ(m_pipe.getLastError().wideMessage, L"Command terminated by signal 9");
  EXPECT_EQ(m_pipe.getLastError().code, 12);
}

TEST_F(Exec, CutsLongLinesAt8190Bytes) {
  run("/bin/sh -c 'for n in 8189 8190 16381; do head -c $n /dev/zero | tr \"\\0\" x; echo; done'");
  std::vector<size_t> sizes;
  for (const std::string& line : m_output) sizes.push_back(line.size());
  EXPECT_EQ(sizes, std::vector<size_t>({8190, 8190, 1, 8190, 8190, 2}));
}

TEST_F(Exec, DeliversAHundredMebibytes) {
  ASSERT_EQ(m_pipe.ExecPipe("/bin/sh -c 'yes 123456789 | head -c 104857600'", ""), 0);
  char line[8192];
  size_t total = 0;
  while (m_pipe.ReadLine(line, sizeof line, &m_timedOut, 60)) total += strlen(line);
  EXPECT_EQ(total, 104857600u);
  EXPECT_EQ(m_pipe.Close(10) + m_pipe.Close(10), 0);
}

TEST_F(Exec, DoesNothingWithoutACommandABufferOrRoom) {
  char line[2];
  EXPECT_FALSE(m_pipe.ReadLine(line, 2, nullptr, 1));
  EXPECT_EQ(m_pipe.WaitPid(1), -1);
  EXPECT_EQ(m_recorder.lines.at(0), "1 CFiExecPipePosix::WaitPid ERROR: invalid child process pid");
  ASSERT_EQ(m_pipe.ExecPipe("/bin/echo a", ""), 0);
  EXPECT_FALSE(m_pipe.ReadLine(line, 1, nullptr, 60) || m_pipe.ReadLine(nullptr, 8, nullptr, 60));
  EXPECT_TRUE(m_pipe.ReadLine(line, 2, nullptr, 60));
  EXPECT_EQ(line + std::to_string(m_pipe.Close(10)), "a0");
}

TEST_F(Exec, NamesTheStepOfItsStartThatFails) {
  if (isUnderValgrind()) GTEST_SKIP() << "valgrind starts children in its own way";
  const std::string junk = m_root.file("junk");
  writeFile(junk, "no program");
  chmod(junk.c_str(), 0700);
  const std::string start = "\n1 CFiExecPipePosix::ExecPipe ERROR: ";
  const std::string exited = "11|Command exited with status 1|";
  const std::string after = "\n2 Command exited with status 1";
  const struct {
    std::string command, in;
    __rlimit_resource exhausted;
    std::string answer;
  } cases[] = {
      {"/bin/true", "", RLIMIT_NOFILE, "1|errno=24|" + start + "pipe(-1) failed, errno 24"},
      {"/bin/true", "", RLIMIT_NPROC, "4|errno=11|" + start + "fork() failed, errno 11"},
      {junk, "", RLIMIT_CORE, exited + start + "execv() failed, errno 8" + after},
      {"/bin/cat", "/missing", RLIMIT_CORE,
       exited + start + "Could not open '/missing' for reading, errno 2" + after},
      // A copy of the host writes the failure to the trace file.
      {junk, "/dev/zero", RLIMIT_CORE, exited + after}};
  for (const auto& one : cases) {
    const std::string answer = inProcess([&] {
      EXPECT_EQ(run("/bin/true"), "0||");  // sanitizers check the object at the first call
      m_recorder.lines.clear();
      const rlimit none{0, 0};
      setrlimit(one.exhausted, &none);
      if (one.exhausted == RLIMIT_NPROC) std::ignore = setuid(65534);  // root knows no such limit
      std::string text = run(one.command, one.in);
      for (const std::string& line : m_recorder.takeBody()) {
        if (line[0] <= '2') text += "\n" + line;
      }
      return text;
    });
    EXPECT_EQ(answer, one.answer);
  }
  const std::string traced = readFile(m_log->getTracePath().c_str());
  const size_t first = traced.find("ERROR: execv() failed, errno 8\n");
  EXPECT_NE(traced.find("ERROR: execv() failed, errno 8\n", first + 1), std::string::npos);
}

TEST_F(Exec, ReportsThatItsReadEndWasClosedByTheHost) {
  const int end = dup(2);  // the number that the read end gets
  const std::string failure = "close(" + std::to_string(end) + ") failed, errno 9";
  const auto start = [&, this] {
    EXPECT_EQ(m_pipe.ExecPipe("/bin/true", ""), 0);
    close(end);
    m_recorder.lines.clear();
  };
  close(end);
  start();
  EXPECT_EQ(readLine(), "(none)");
  EXPECT_EQ(m_recorder.lines, Texts({"1 CFiExecPipePosix::ReadLine ERROR: read() failed, errno 9",
                                     "1 CFiExecPipePosix::Readline ERROR: " + failure}));
  EXPECT_EQ(m_pipe.Close(10), 0);
  start();
  EXPECT_EQ(summary(m_pipe.Close(10)), "3|" + failure + "|");
  EXPECT_EQ(m_recorder.lines[0], "2 CFiExecPipePosix::Close failed with error number [9]");
}

TEST_F(Exec, GivesTheCommandAPlainLocaleAndTheHostsOtherVariables) {
  const ScopedEnv lang("LANG", "de_DE.UTF-8");
  const ScopedEnv ifs("IFS", "x");
  EXPECT_EQ(run("/usr/bin/env")[0], '0');
  for (const std::string& text : Texts(
           {"LANG=C", "LC_ALL=C", "LC_COLLATE=C", "LC_CTYPE=C", "LC_MESSAGES=C", "LC_MONETARY=C",
            "LC_NUMERIC=C", "LC_TIME=C",
            "CDPATH=", "EDITOR=", "ENV=", "FPATH=", "IFS=", "ORCA_INSTALL_ROOT=" + m_root.str()})) {
    EXPECT_EQ(std::count(m_output.begin(), m_output.end(), text + "\n"), 1) << text;
  }
  EXPECT_STREQ(getenv("LANG"), "de_DE.UTF-8");
}

TEST_F(Exec, TakesItsInputFromADeviceOrNowhere) {
  EXPECT_EQ(run("/bin/cat"), "0||");
  EXPECT_EQ(run("/usr/bin/head -c 2", "/dev/zero"), std::string("0||\0\0^", 6));
}

TEST_F(Exec, AppendsTheFrameworksOutputInChildContext) {
  const ScopedEnv context("ORCA_CHILD_CONTEXT", "1");
  m_output = {"old"};
  EXPECT_EQ(run("echo a; echo; printf b; exit 3"), "3||old^a^b^");
  EXPECT_EQ(m_recorder.lines, Texts({"6 Executing command in child context."}));
}

TEST_F(Exec, StartsAfreshOverAnUnfinishedCommandAndStopsAtOnceAfterAnAbort) {
  ASSERT_EQ(m_pipe.ExecPipe("/bin/sh -c 'echo a; echo b'", ""), 0);
  EXPECT_EQ(readLine(), "a\n");
  siginfo_t ended;
  waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
  EXPECT_EQ(run("/bin/echo c"), "0||c\n^");
  m_pipe.Abort();
  EXPECT_EQ(run("/usr/bin/yes"), "12|Command terminated by signal 13|");
}

TEST_F(Exec, WorksWithClosedStreamsAndThousandsOfDescriptorsAndPassesNoPipeEndOn) {
  const std::string file = m_root.file("in");
  writeFile(file, "x");
  const char* command =
      "/bin/sh -c 'sleep 0.02; cat; echo e >&2; ls -l /proc/$$/fd 2>/dev/null |"
      " grep -Fc \"$(readlink /proc/$$/fd/1)\"'";
  for (const std::string& input : {file, std::string("/proc/self/fd/9")}) {
    for (int closed = 0; closed < 8; ++closed) {
      const std::string answer = inProcess([&] {
        const rlimit limit{4096, 4096};
        setrlimit(RLIMIT_NOFILE, &limit);
        dup2(open(file.c_str(), O_RDONLY), 9);
        while (fcntl(9, F_DUPFD_CLOEXEC, 0) < 3000) {
        }
        for (int fd = 0; fd < 3; ++fd) {
          if ((closed >> fd & 1) != 0) close(fd);
        }
        return run(command, input);
      });
      EXPECT_EQ(answer, "0||xe\n^2\n^") << closed;
    }
  }
}

TEST_F(Exec, CannotTellTheEndOfACommandInAHostThatIgnoresSigchld) {
  const std::string answer = inProcess([this] {
    signal(SIGCHLD, SIG_IGN);
    const std::string ran = run("/bin/echo a");
    return ran + m_recorder.lines[0];
  });
  EXPECT_EQ(answer,
            "8|Error in WaitPid()|a\n^1 CFiExecPipePosix::WaitPid ERROR: waitpid got ECHILD");
}

TEST_F(Exec, IsNotDisturbedBySignalsAndKeepsHandlersAndMask) {
  const std::string answer = inProcess([this] {
    signal(SIGALRM, [](int) {});
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    const itimerval often{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto handling = [] {
      const std::string status = readFile("/proc/self/status");
      return status.substr(status.find("SigBlk"), status.find("CapInh") - status.find("SigBlk"));
    };
    const std::string before = handling();
    const std::string ran = run("/bin/sh -c 'sleep 0.05; echo a; exec >&- 2>&-; sleep 0.05'") +
                            run("/bin/grep SigBlk /proc/self/status");
    return ran + (handling() == before ? "kept" : "lost");
  });
  EXPECT_EQ(answer, "0||a\n^0||SigBlk:\t0000000000000800\n^kept");
}

}  // namespace
}  // namespace orca_tests
