#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "accounting.h"
#include "faults.h"

// Commands run as `/bin/sh -c COMMAND` with standard input from /dev/null. The call lasts until the
// command has ended and nobody holds its output open any more, a process left in the background
// included. Exit status: the command's own, 128 + signal when a signal ended it, -1 when it could
// not be started or output is missing. Where the process ignores SIGCHLD, the system keeps no exit
// status and the answer is 0.
//
// At most 16 MiB of output are kept. Then, and when memory is short, the output is closed: a
// command that goes on writing receives SIGPIPE.

namespace {

constexpr std::size_t kMostOutput = std::size_t{16} << 20;

class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return m_fd; }
  void set(int fd) { m_fd = fd; }
  void close() {
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
  }

 private:
  int m_fd = -1;
};

// What the child finds: the pipe as output and error, no input, no signals blocked or ignored.
class SpawnSettings {
 public:
  explicit SpawnSettings(int outputFd) {
    posix_spawn_file_actions_init(&m_actions);
    posix_spawnattr_init(&m_attributes);
    // The input comes last: the pipe itself may have number 0 when the host has closed its own.
    m_error = firstError(
        {posix_spawn_file_actions_adddup2(&m_actions, outputFd, STDOUT_FILENO),
         posix_spawn_file_actions_adddup2(&m_actions, outputFd, STDERR_FILENO),
         posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0),
         setSignals()});
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&m_attributes);
    posix_spawn_file_actions_destroy(&m_actions);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  pid_t spawn(const char* command) const {
    const char* const argv[] = {"sh", "-c", "--", command, nullptr};
    pid_t pid = -1;
    if (m_error != 0 || posix_spawn(&pid, "/bin/sh", &m_actions, &m_attributes,
                                    const_cast<char* const*>(argv), environ) != 0) {
      return -1;
    }
    return pid;
  }

 private:
  static int firstError(std::initializer_list<int> results) {
    const auto failed = std::find_if(results.begin(), results.end(), [](int r) { return r != 0; });
    return failed == results.end() ? 0 : *failed;
  }

  int setSignals() {
    sigset_t none;
    sigemptyset(&none);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGCHLD);
    sigaddset(&defaults, SIGPIPE);
    return firstError(
        {posix_spawnattr_setsigmask(&m_attributes, &none),
         posix_spawnattr_setsigdefault(&m_attributes, &defaults),
         posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF)});
  }

  posix_spawn_file_actions_t m_actions;
  posix_spawnattr_t m_attributes;
  int m_error = 0;
};

// The captured output: one malloc block that grows in place where the system can move pages.
class Capture {
 public:
  Capture() = default;
  ~Capture() { std::free(m_block); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  // Reads to the end of the pipe, or to the end of the room for it: then output is lost.
  void readAll(int fd) {
    char piece[65536];
    for (;;) {
      const ssize_t got = ::read(fd, piece, sizeof piece);
      if (got == 0) return;
      if (got < 0 && errno == EINTR) continue;
      m_lost = got < 0 || !append(piece, static_cast<std::size_t>(got));
      if (m_lost) return;
    }
  }

  bool isLost() const { return m_lost; }
  bool isEmpty() const { return m_used == 0; }
  std::size_t sizeWithNul() const { return m_used + 1; }

  // Hands the block out as a buffer of sizeWithNul() bytes.
  char* release() {
    m_block[m_used] = '\0';
    if (void* trimmed = std::realloc(m_block, m_used + 1)) m_block = static_cast<char*>(trimmed);
    void* block = m_block;
    m_block = nullptr;
    return static_cast<char*>(orca_fiutil::adoptBuffer(block, m_used + 1));
  }

 private:
  // False when not all of the piece found room.
  bool append(const char* piece, std::size_t size) {
    const std::size_t taken = std::min(size, kMostOutput - m_used);
    if (!reserve(m_used + taken + 1)) return false;
    std::memcpy(m_block + m_used, piece, taken);
    m_used += taken;
    return taken == size;
  }

  bool reserve(std::size_t wanted) {
    if (wanted <= m_capacity) return true;
    const std::size_t capacity = std::max(wanted, m_capacity + m_capacity / 2);
    void* grown = std::realloc(m_block, capacity);
    if (grown == nullptr) return false;
    m_block = static_cast<char*>(grown);
    m_capacity = capacity;
    return true;
  }

  char* m_block = nullptr;
  std::size_t m_used = 0;
  std::size_t m_capacity = 0;
  bool m_lost = false;
};

int waitForStatus(pid_t pid) {
  int status = 0;
  pid_t reaped = -1;
  do {
    reaped = waitpid(pid, &status, 0);
  } while (reaped < 0 && errno == EINTR);
  if (reaped < 0) return 0;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// Runs the command to its end; -1 when it could not be started and when output was lost.
int run(const char* command, Capture& capture) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  Descriptor readEnd;
  Descriptor writeEnd;
  readEnd.set(ends[0]);
  writeEnd.set(ends[1]);
  const pid_t pid = SpawnSettings(writeEnd.get()).spawn(command);
  if (pid < 0) return -1;
  writeEnd.close();
  capture.readAll(readEnd.get());
  readEnd.close();
  const int status = waitForStatus(pid);
  return capture.isLost() ? -1 : status;
}

}  // namespace

int orca_exec_cmd_in_child_context(const char* command, char** output, int* length) {
  if (output != nullptr) *output = nullptr;
  if (length != nullptr) *length = 0;
  if (command == nullptr || orca_fiutil::fails(ORCA_FAULT_COMMAND)) return -1;
  if (orca_fiutil::fails(ORCA_FAULT_DELAY)) std::this_thread::sleep_for(std::chrono::seconds(1));
  Capture capture;
  const int status = run(command, capture);
  if (output == nullptr || length == nullptr || capture.isEmpty()) return status;
  *output = capture.release();
  if (*output == nullptr) return -1;
  *length = static_cast<int>(capture.sizeWithNul());
  return status;
}

int orca_is_child_context(void) {
  const char* setting = std::getenv("ORCA_CHILD_CONTEXT");
  return setting != nullptr && std::strcmp(setting, "1") == 0 ? 1 : 0;
}
