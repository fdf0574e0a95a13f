#ifndef ORCA_TESTS_HOSTOPS_EXEC_SUPPORT_H
#define ORCA_TESTS_HOSTOPS_EXEC_SUPPORT_H

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iterator>

#include "cfiexecpipe.h"
#include "framework/test_provider.h"

namespace orca_tests {

// The C library's function behind one that a test has put before it.
template <typename Function>
Function* realOf(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The answer of a function that runs in a process of its own, which it may spoil.
inline std::string inProcess(const std::function<std::string()>& function) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
  const pid_t pid = fork();
  if (pid == 0) {
    const std::string answer = function();
    _exit(write(ends[1], answer.data(), answer.size()) < 0 ? 1 : 0);
  }
  close(ends[1]);
  std::string answer(4096, '\0');
  const ssize_t got = read(ends[0], answer.data(), answer.size());
  answer.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
  close(ends[0]);
  waitpid(pid, nullptr, 0);
  return answer;
}

// Valgrind knows no pidfd, and copies the process where it should be shared with a child.
inline bool isUnderValgrind() {
  return readFile("/proc/self/maps").find("/vgpreload_") != std::string::npos;
}

// Runs commands. No descriptor and no child may be left at the end of a test.
class ExecTest : public PluginTest {
 protected:
  using Pipe = orca_pdk::CFiExecPipePosix;

  ExecTest() {
    m_pipe.registerTraceLog(m_log);
    // Numbers of descriptors are foretold: the suite may have been started without an input.
    if (fcntl(STDIN_FILENO, F_GETFD) < 0) open("/dev/null", O_RDONLY);
  }
  void SetUp() override { m_descriptors = descriptors(); }
  void TearDown() override {
    EXPECT_EQ(descriptors(), m_descriptors);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
  }
  static long descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  }
  // The number that the read end of the next command gets.
  static int nextDescriptor() {
    const int next = dup(STDIN_FILENO);
    close(next);
    return next;
  }
  // The result, the message of the last error and the lines of the output, each with "^" behind it.
  std::string summary(int result) const {
    std::string text = std::to_string(result) + "|" + m_pipe.getLastError().message + "|";
    for (const std::string& line : m_output) text += line + "^";
    return text;
  }
  std::string run(const std::string& command, const std::string& in = "",
                  unsigned long limit = 60) {
    return summary(m_pipe.Exec(command, m_output, in, limit, "", "", ""));
  }
  // The line, or "(none)", with "!" behind it after a time-out.
  std::string readLine(long limit = 60) {
    char line[8192] = "(none)";
    m_pipe.ReadLine(line, sizeof line, &m_timedOut, limit);
    return line + std::string(m_timedOut, '!');
  }

  Pipe m_pipe{0};
  Texts m_output;
  unsigned char m_timedOut = 0;

 private:
  long m_descriptors = 0;
};

}  // namespace orca_tests

#endif
