#include <dlfcn.h>
#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fiutil.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "breaking.h"

// A thread of the plug-in's; its code stays where it is, since it may not have come to its pause
// when the plug-in is closed.
static void leaveAThread() {
  Dl_info self{};
  const bool isKnown = dladdr(reinterpret_cast<void*>(leaveAThread), &self) != 0;
  if (!isKnown || !dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE)) std::abort();
  std::thread(pause).detach();
}

void breakSurroundings() {
  if (breaks("load.locale")) setlocale(LC_ALL, "C.UTF-8");
  if (breaks("load.folder") && chdir("/") != 0) std::abort();
  if (breaks("load.umask")) umask(0);
  if (breaks("load.signals")) signal(SIGUSR1, SIG_IGN);
  if (breaks("load.environment")) setenv("BREAKING", "1", 1);
  if (breaks("load.descriptors") && open("/dev/null", O_RDONLY | O_CLOEXEC) < 0) std::abort();
  if (breaks("load.threads")) leaveAThread();
  if (breaks("load.output")) std::puts("hello");
}

Growth::~Growth() {
  for (const int fd : m_descriptors) close(fd);
  for (const pid_t child : m_children) waitpid(child, nullptr, 0);
}

void Growth::grow() {
  if (breaks("memory.nodes") && ++m_calls % 10 == 0) orca_alloc_buf(24);
  if (breaks("memory.resident")) m_memory.emplace_back(4096, 'x');
  if (breaks("memory.descriptors") && m_descriptors.size() < 200)
    m_descriptors.push_back(dup(STDERR_FILENO));
  if (breaks("memory.threads") && m_threads.size() < 40) {
    m_threads.emplace_back([](const std::stop_token& stop) {
      std::mutex mutex;
      std::unique_lock lock(mutex);
      std::condition_variable_any().wait(lock, stop, [] { return false; });
    });
  }
  if (!breaks("memory.zombies") || m_children.size() > 2) return;
  const pid_t child = fork();
  if (child == 0) _exit(0);
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
  m_children.push_back(child);
}
