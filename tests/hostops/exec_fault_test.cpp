#include <gmock/gmock.h>

#include <cerrno>

#include "hostops/exec_support.h"

namespace {

using orca_tests::realOf;

// A call that is to fail: how many calls of the name from now, and the error.
struct Fault {
  const char* call;
  int nth;
  int error;
};
std::vector<Fault> g_faults;

bool fails(const std::string_view call) {
  for (Fault& fault : g_faults) {
    if (call != fault.call || --fault.nth != 0) continue;
    errno = fault.error;
    return true;
  }
  return false;
}

}  // namespace

extern "C" {

int pipe2(int* ends, int flags) noexcept {
  return fails("pipe2") ? -1 : realOf(&pipe2, "pipe2")(ends, flags);
}
pid_t fork() noexcept { return fails("fork") ? -1 : realOf(&fork, "fork")(); }
int dup2(int from, int to) noexcept { return fails("dup2") ? -1 : realOf(&dup2, "dup2")(from, to); }
int execve(const char* path, char* const* argv, char* const* env) noexcept {
  return fails("execve") ? -1 : realOf(&execve, "execve")(path, argv, env);
}
ssize_t read(int fd, void* data, size_t size) {
  return fails("read") ? -1 : realOf(&read, "read")(fd, data, size);
}
int open(const char* path, int flags, ...) {
  return fails("open") ? -1 : realOf(&open, "open")(path, flags, 0600);
}
// As in the system, the descriptor is gone in any case.
int close(int fd) {
  const int result = realOf(&close, "close")(fd);
  return fails("close") ? -1 : result;
}

}  // extern "C"

namespace orca_tests {
namespace {

// What happens when calls fail while a short command runs.
class ExecFault : public ExecTest {
 protected:
  void SetUp() override {
    ExecTest::SetUp();
    if (isUnderValgrind()) GTEST_SKIP() << "to valgrind a vfork is a fork, with calls of its own";
  }
  // The summary, and the traced errors and warnings without the name of their class.
  std::string runWith(const std::vector<Fault>& faults, const std::string& in = "") {
    m_recorder.lines.clear();
    g_faults = faults;
    std::string answer = run("/bin/true", in);
    g_faults.clear();
    for (const std::string& line : m_recorder.lines) {
      if (line[0] <= '2') answer += "\n" + line.substr(line.find("::") == 18 ? 20 : 2);
    }
    return answer;
  }
  std::string closing() const {
    return "close(" + std::to_string(nextDescriptor()) + ") failed, errno 5";
  }
};

TEST_F(ExecFault, IsReported) {
  const std::string start = "\nExecPipe ERROR: ", ended = "\nCommand exited with status 1";
  const std::string exited = "11|" + ended.substr(1) + "|" + start;
  const std::pair<std::vector<Fault>, std::string> cases[] = {
      {{{"close", 2, 5}}, "0||" + start + "child close(pipe[0]) failed, errno 5"},
      {{{"close", 3, 5}}, "0||" + start + "child close(pipe[1]) failed, errno 5"},
      {{{"close", 4, 5}}, "0||" + start + "parent close(pipe[1]) failed, errno 5"},
      {{{"close", 5, 5}}, "0||\nReadline ERROR: " + closing()},
      {{{"read", 1, 5}, {"read", 1, 5}}, "0||\nReadLine ERROR: read() failed, errno 5"},
      {{{"pipe2", 1, 24}}, "1|errno=24|" + start + "pipe(-1) failed, errno 24"},
      {{{"open", 1, 13}}, exited + "Could not open /dev/null for reading, errno 13" + ended},
      {{{"dup2", 1, 16}}, exited + "dup2(stdin) failed, errno 16" + ended},
      {{{"dup2", 2, 16}}, exited + "dup2(stdout) failed, errno 16" + ended},
      {{{"dup2", 3, 16}}, exited + "dup2(stderr) failed, errno 16" + ended},
      {{{"execve", 1, 8}}, exited + "execv() failed, errno 8" + ended}};
  for (const auto& [faults, answer] : cases) {
    EXPECT_EQ(runWith(faults), answer) << faults[0].call << faults[0].nth;
  }
}

TEST_F(ExecFault, OfTheForkClosesThePipe) {
  const std::string end = "\nExecPipe ERROR: failed fork close(pipe[";
  EXPECT_EQ(runWith({{"fork", 1, 11}, {"close", 1, 4}, {"close", 2, 5}}, "/dev/null"),
            "4|errno=11|" + end + "0]) failed, errno 4" + end +
                "1]) failed, errno 5\nExecPipe ERROR: fork() failed, errno 11");
}

TEST_F(ExecFault, IsTracedByTheChildThatOpensAFile) {
  EXPECT_THAT(runWith({}, "/missing"), testing::StartsWith("11|Command exited with status 1|"));
  runWith({{"close", 3, 5}, {"execve", 1, 8}}, "/dev/null");
  const std::string traced = readFile(m_log->getTracePath().c_str());
  for (const char* text : {"Could not open '/missing' for reading, errno 2",
                           "child close(pipe[1]) failed, errno 5", "execv() failed, errno 8"}) {
    EXPECT_THAT(traced, testing::HasSubstr(std::string("ExecPipe ERROR: ") + text + "\n"));
  }
}

TEST_F(ExecFault, ThatIsAnInterruptionChangesNothing) {
  EXPECT_EQ(runWith({{"open", 1, 4}, {"dup2", 1, 4}, {"dup2", 3, 4}, {"read", 1, 4}}), "0||");
}

TEST_F(ExecFault, OfTheClosingHasItsResult) {
  m_pipe.Abort();
  EXPECT_EQ(runWith({{"close", 5, 5}}), "3|" + closing() + "|\nClose failed with error number [5]");
}

}  // namespace
}  // namespace orca_tests
