#ifndef ORCA_TESTS_RUN_COMMAND_H
#define ORCA_TESTS_RUN_COMMAND_H

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace orca_tests {

// How a program ended and what it printed. A program ended by a signal has status 128 + signal.
struct CommandResult {
  int status;
  std::string out;
  std::string err;
};

namespace detail {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OwnedFile = std::unique_ptr<std::FILE, FileCloser>;

inline OwnedFile temporaryFile() {
  OwnedFile file(std::tmpfile());
  if (file == nullptr) throw std::runtime_error("tmpfile failed");
  return file;
}

inline std::string contentOf(std::FILE* file) {
  std::string text;
  std::rewind(file);
  for (int c = std::getc(file); c != EOF; c = std::getc(file)) text += static_cast<char>(c);
  return text;
}

}  // namespace detail

// Runs a program (its path, then its arguments) to its end, with this process's environment,
// nothing on standard input, and signals as in a shell's foreground, whatever this process
// inherited.
inline CommandResult runCommand(const std::vector<std::string>& command) {
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const detail::OwnedFile out = detail::temporaryFile();
  const detail::OwnedFile err = detail::temporaryFile();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(out.get()), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(err.get()), STDERR_FILENO);
  // Last: where standard input was closed, one of the files has its number.
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", 0, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t pid = -1;
  const int failed = posix_spawnp(&pid, argv[0], &actions, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("cannot run " + command[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
          detail::contentOf(out.get()), detail::contentOf(err.get())};
}

}  // namespace orca_tests

#endif
