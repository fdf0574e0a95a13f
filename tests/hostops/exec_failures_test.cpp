#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>

#include "hostops/exec_support.h"

namespace orca_tests {
namespace {

// System calls that fail from now on in this process and its children: those of a number whose
// argument has a value.
struct Failing {
  unsigned number;
  unsigned error;
  unsigned argument = kAny;
  unsigned value = 0;

  static constexpr unsigned kAny = 6;
};

bool install(const std::vector<Failing>& all) {
  std::vector<sock_filter> program;
  for (const Failing& one : all) {
    const bool isAny = one.argument == Failing::kAny;
    const size_t offset = isAny ? 0 : offsetof(seccomp_data, args) + one.argument * 8;
    program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0));
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, one.number, 0, 3));
    program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offset)));
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, isAny ? one.number : one.value, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | one.error));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// The number of the next descriptor: beyond what a program itself opens, where calls fail as well.
constexpr int kReadEnd = 100;
constexpr int kWriteEnd = 101;

class ExecFailure : public ExecTest {
 protected:
  // Runs a command, or starts and closes it, with some system calls failing. Answers with result
  // and message and the trace lines of failures.
  std::string runFailing(const std::vector<Failing>& calls, bool reads = true,
                         const std::string& in = "") {
    return inProcess([&, this]() -> std::string {
      while (fcntl(0, F_DUPFD_CLOEXEC, 0) < kReadEnd - 1) {
      }
      // Sanitizers check the object at the first call, with a pipe of their own.
      EXPECT_EQ(run("/bin/true"), "0||");
      m_recorder.lines.clear();
      if (!install(calls)) return "no system call filter";
      const int started = reads ? 0 : m_pipe.ExecPipe("/bin/true", "");
      std::string text = reads ? run("/bin/true", in) : summary(started + m_pipe.Close(10));
      for (const std::string& line : m_recorder.takeBody()) {
        if (line[0] <= '2') text += "\n" + line;
      }
      return text;
    });
  }
};

TEST_F(ExecFailure, IsReportedForEachStep) {
  const std::string start = "\n1 CFiExecPipePosix::ExecPipe ERROR: ";
  const std::string exited = "11|Command exited with status 1|" + start;
  const std::string after = "\n2 Command exited with status 1";
  const Failing noClose[] = {{SYS_close, EIO, 0, kReadEnd}, {SYS_close, EIO, 0, kWriteEnd}};
  const std::pair<std::vector<Failing>, std::string> cases[] = {
      {{{SYS_pipe2, EMFILE}}, "1|errno=24|" + start + "pipe(-1) failed, errno 24"},
      {{{SYS_vfork, EAGAIN}}, "4|errno=11|" + start + "fork() failed, errno 11"},
      {{{SYS_dup2, EBUSY, 1, 1}}, exited + "dup2(stdout) failed, errno 16" + after},
      {{{SYS_execve, ENOEXEC}}, exited + "execv() failed, errno 8" + after},
      {{noClose[0]},
       "0||" + start + "child close(pipe[0]) failed, errno 5" +
           "\n1 CFiExecPipePosix::Readline ERROR: close(100) failed, errno 5"},
      {{{SYS_read, EIO, 0, kReadEnd}},
       "0||\n1 CFiExecPipePosix::ReadLine ERROR: read() failed, errno 5"}};
  for (const auto& [calls, answer] : cases) EXPECT_EQ(runFailing(calls), answer);
  EXPECT_EQ(runFailing({}, true, "/missing"),
            exited + "Could not open '/missing' for reading, errno 2" + after);
  EXPECT_EQ(runFailing({noClose[0], noClose[1]}, false),
            "3|close(100) failed, errno 5|" + start + "child close(pipe[0]) failed, errno 5" +
                start + "child close(pipe[1]) failed, errno 5" + start +
                "parent close(pipe[1]) failed, errno 5" +
                "\n2 CFiExecPipePosix::Close failed with error number [5]");
}

TEST_F(ExecFailure, OfACopiedChildReachesTheTraceFileToo) {
  EXPECT_EQ(runFailing({{SYS_execve, ENOEXEC}}, true, "/dev/zero"),
            "11|Command exited with status 1|\n2 Command exited with status 1");
  EXPECT_NE(readFile(m_log->getTracePath().c_str())
                .find("CFiExecPipePosix::ExecPipe ERROR: execv() failed, errno 8\n"),
            std::string::npos);
}

}  // namespace
}  // namespace orca_tests
