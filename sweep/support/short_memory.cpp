#include "support/short_memory.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>
#include <utility>

#include "support/points.h"
#include "support/shared.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}

namespace {

thread_local bool t_counted = false;
thread_local bool t_enough = false;      // nothing fails, whatever is counted
thread_local std::size_t t_count = 0;    // allocations since counting began
thread_local std::size_t t_failing = 0;  // the one that fails; 0: none
thread_local long t_held = 0;            // blocks allocated and not freed since counting began
char g_place[200] = "";
constexpr unsigned kSeconds = 60;  // then a child hangs

bool isFailing() {
  if (!t_counted || t_enough) return false;
  if (++t_count == t_failing) errno = ENOMEM;
  return t_count == t_failing;
}

void* counted(void* block) {
  if (t_counted && block != nullptr) ++t_held;
  return block;
}

void sayPlace(int signal) {
  static_cast<void>(!write(STDERR_FILENO, g_place, sizeof(g_place)));
  ::signal(signal, SIG_DFL);
  raise(signal);
}

// What a child process tells of an undisturbed run.
struct ColdRun {
  std::size_t count = 0;
  char whole[2000] = "";
};

// Counts from its beginning to its end.
struct Counting {
  explicit Counting(std::size_t failing) {
    t_count = 0;
    t_held = 0;
    t_failing = failing;
    t_counted = true;
  }
  ~Counting() { t_counted = false; }
};

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size) { return isFailing() ? nullptr : counted(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) {
  return isFailing() ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  if (isFailing()) return nullptr;
  void* const grown = __libc_realloc(block, size);
  return block == nullptr ? counted(grown) : grown;
}

void free(void* block) {
  if (t_counted && block != nullptr) --t_held;
  __libc_free(block);
}

}  // extern "C"
#pragma GCC visibility pop

namespace orca_tests {

EnoughMemory::EnoughMemory() : m_before(std::exchange(t_enough, true)) {}

EnoughMemory::~EnoughMemory() { t_enough = m_before; }

void ShortMemory::sweep() const {
  work();
  const std::string whole = work();
  EXPECT_NE(whole, "") << name << " comes to no result";
  for (const int number : {SIGSEGV, SIGABRT, SIGBUS}) signal(number, sayPlace);
  for (const std::size_t point : sweepPoints(name + ", short of memory", countAllocations())) {
    failAt(point + 1, whole);
    if (::testing::Test::HasFailure()) return;
  }
}

void ShortMemory::sweepCold() const {
  Shared<ColdRun> run;
  const auto inChild = [&](const std::function<void()>& action) {
    const pid_t pid = fork();
    if (pid == 0) {
      alarm(kSeconds);
      action();
      _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0) << g_place;
  };
  for (const int number : {SIGSEGV, SIGABRT, SIGBUS}) signal(number, sayPlace);
  std::snprintf(g_place, sizeof(g_place), "%s\n", name.c_str());
  inChild([&] {
    run->count = countAllocations();
    work().copy(run->whole, sizeof run->whole - 1);
  });
  for (const std::size_t point : sweepPoints(name + ", at once short of memory", run->count)) {
    inChild([&] { failAt(point + 1, run->whole, true); });
    if (::testing::Test::HasFailure()) return;
  }
}

std::size_t ShortMemory::countAllocations() const {
  const Counting counting(0);
  work();
  return t_count;
}

void ShortMemory::failAt(std::size_t failing, const std::string& whole, bool isCold) const {
  std::snprintf(g_place, sizeof(g_place), "%s: allocation %zu fails\n", name.c_str(), failing);
  std::string result;
  long held = 0;
  {
    const Counting counting(failing);
    try {
      result = work();
    } catch (const std::bad_alloc&) {
    }
    held = t_held - (result.capacity() > std::string().capacity() ? 1 : 0);
  }
  if (!mayLeak && !isCold) {
    EXPECT_EQ(held, 0) << g_place << "blocks are left";
  }
  if (result != whole && !isStated(result)) {
    EXPECT_EQ(result, "") << g_place;
  }
  EXPECT_EQ(work(), whole) << "after " << g_place;
}

}  // namespace orca_tests
