#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "hostops/exec_support.h"

namespace orca_tests {

int g_failingAllocation = 0;

}  // namespace orca_tests

namespace {

void* allocate(std::size_t size) noexcept {
  const bool fails = orca_tests::g_failingAllocation != 0 && --orca_tests::g_failingAllocation == 0;
  return fails ? nullptr : std::malloc(size);
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace orca_tests {
namespace {

// System calls that fail from now on in this process and its children: those of a number whose
// argument has a value.
struct Failing {
  unsigned number;
  unsigned argument;  // 6 for any
  unsigned value;
  unsigned error;
};

std::vector<sock_filter> filterOf(const std::vector<Failing>& all) {
  constexpr unsigned kArguments = offsetof(seccomp_data, args);
  std::vector<sock_filter> program;
  for (const Failing& one : all) {
    const bool isAny = one.argument == 6;
    const unsigned offset = isAny ? 0 : kArguments + one.argument * 8;
    program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0));
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, one.number, 0, 3));
    program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset));
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, isAny ? one.number : one.value, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | one.error));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  return program;
}

bool install(const std::vector<Failing>& all) {
  std::vector<sock_filter> program = filterOf(all);
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

class ExecFailure : public ExecTest {
 protected:
  // Starts a command, reads its output where told to, and closes it, with some system calls
  // failing; in them kReadEnd and kWriteEnd stand for the descriptors of its pipe. Answers with
  // result and message and the trace lines of failures.
  std::string runFailing(std::vector<Failing> all, bool reads = true, const std::string& in = "") {
    return inProcess([&, this]() -> std::string {
      // Beyond what a program itself opens: the calls fail there as well.
      int first = -1;
      while ((first = fcntl(0, F_DUPFD_CLOEXEC, 0)) < 100) {
      }
      close(first);
      for (Failing& one : all) {
        if (one.value >= kReadEnd) one.value += static_cast<unsigned>(first) - kReadEnd;
      }
      if (!install(all)) return "no system call filter";
      int result = 0;
      if (reads) {
        result = m_pipe.Exec("/bin/true", m_output, in, 60, "", "", "");
      } else if ((result = m_pipe.ExecPipe("/bin/true", "")) == 0) {
        result = m_pipe.Close(10);
      }
      std::string text = summary(result);
      for (const std::string& line : m_recorder.takeBody()) {
        if (line[0] <= '2') text += "\n" + line;
      }
      const std::string number = "close(" + std::to_string(first) + ")";
      for (size_t at; (at = text.find(number)) != text.npos;)
        text.replace(at, number.size(), "CLOSE");
      return text;
    });
  }

  static constexpr unsigned kReadEnd = 1000;
  static constexpr unsigned kWriteEnd = 1001;
};

TEST_F(ExecFailure, IsReportedForEachStep) {
  const std::string exited =
      "11|Command exited with status 1|\n1 CFiExecPipePosix::ExecPipe ERROR: ";
  const std::string start = "\n1 CFiExecPipePosix::ExecPipe ERROR: ";
  const std::string after = "\n2 Command exited with status 1";
  const Failing noFork{SYS_vfork, 6, 0, EAGAIN};
  const Failing noClose[] = {{SYS_close, 0, kReadEnd, EIO}, {SYS_close, 0, kWriteEnd, EIO}};
  const struct {
    std::vector<Failing> calls;
    std::string answer;
  } cases[] = {
      {{{SYS_pipe2, 6, 0, EMFILE}}, "1|errno=24|" + start + "pipe(-1) failed, errno 24"},
      {{noFork}, "4|errno=11|" + start + "fork() failed, errno 11"},
      {{noFork, noClose[0], noClose[1]},
       "4|errno=11|" + start + "failed fork close(pipe[0]) failed, errno 5" + start +
           "failed fork close(pipe[1]) failed, errno 5" + start + "fork() failed, errno 11"},
      {{{SYS_openat, 2, O_RDONLY, EACCES}},
       exited + "Could not open /dev/null for reading, errno 13" + after},
      {{{SYS_dup2, 1, 0, EBUSY}}, exited + "dup2(stdin) failed, errno 16" + after},
      {{{SYS_dup2, 1, 1, EBUSY}}, exited + "dup2(stdout) failed, errno 16" + after},
      {{{SYS_dup2, 1, 2, EBUSY}}, exited + "dup2(stderr) failed, errno 16" + after},
      {{{SYS_execve, 6, 0, ENOEXEC}}, exited + "execv() failed, errno 8" + after},
      {{noClose[0]},
       "0||" + start + "child close(pipe[0]) failed, errno 5" +
           "\n1 CFiExecPipePosix::Readline ERROR: CLOSE failed, errno 5"},
      {{{SYS_read, 0, kReadEnd, EIO}},
       "0||\n1 CFiExecPipePosix::ReadLine ERROR: read() failed, errno 5"},
  };
  for (const auto& one : cases) EXPECT_EQ(runFailing(one.calls), one.answer);
  EXPECT_EQ(runFailing({}, true, "/missing"),
            exited + "Could not open '/missing' for reading, errno 2" + after);
  EXPECT_EQ(runFailing({noClose[0], noClose[1]}, false),
            "3|CLOSE failed, errno 5|" + start + "child close(pipe[0]) failed, errno 5" + start +
                "child close(pipe[1]) failed, errno 5" + start +
                "parent close(pipe[1]) failed, errno 5" +
                "\n2 CFiExecPipePosix::Close failed with error number [5]");
}

TEST_F(ExecFailure, OfACopiedChildReachesTheTraceFileToo) {
  EXPECT_EQ(runFailing({{SYS_execve, 6, 0, ENOEXEC}}, true, "/dev/zero"),
            "11|Command exited with status 1|\n2 Command exited with status 1");
  EXPECT_NE(readFile(m_log->getTracePath().c_str())
                .find("CFiExecPipePosix::ExecPipe ERROR: execv() failed, errno 8\n"),
            std::string::npos);
}

TEST_F(ExecFailure, OfMemoryEndsTheSplittingButNotTheStart) {
  const char* lines[] = {"1 CFiExecPipePosix::AddArgument() ERROR: new[10] failed, errno 12",
                         "1 CFiExecPipePosix::ExecPipe locale modification failed, errno 12"};
  for (int failing : {1, 2}) {
    m_recorder.lines.clear();
    std::string command = "/bin/true";
    errno = ENOMEM;
    g_failingAllocation = failing;
    const int result = m_pipe.ExecPipe(std::move(command), "");
    g_failingAllocation = 0;
    EXPECT_EQ(result, failing == 1 ? 6 : 0);
    EXPECT_EQ(m_recorder.lines.at(0), lines[failing - 1]);
    EXPECT_EQ(m_pipe.Close(10), 0);
  }
}

}  // namespace
}  // namespace orca_tests
