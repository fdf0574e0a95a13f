#ifndef ORCA_SWEEP_TRACED_WORK_H
#define ORCA_SWEEP_TRACED_WORK_H

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace orca_tests {

// Numbers of system calls.
using Calls = std::set<unsigned long long>;

// The calls that can end with an error number when disks, folders, descriptors or signals are in
// the way.
Calls callsThatEndWith(int error);

// How a traced process ended.
struct TracedEnd {
  bool isStruck = false;  // it came to the point
  int status = 0;         // as waitpid tells it
  int result = -1;        // of the work; -1 when it did not come to its end
  std::string text;       // what the work said afterwards; at most 4 KiB
};

// A piece of work that runs in a child process, which is stopped at each of its system calls: there
// it can be killed, or one of the calls can fail. Its own children are not traced, but waited for.
class TracedWork {
 public:
  // `work` is what is traced; `after` says, in the same process and untraced, what came of it.
  explicit TracedWork(std::function<int()> work, std::function<std::string()> after = {});
  // A program, its path first; it is traced from the first call on that names a path below
  // `folder`. Its standard output and error are the text.
  TracedWork(std::vector<std::string> command, std::string folder);

  // Number of these calls in an undisturbed run, which is made, before and after each of which the
  // world is put in order; 0 where processes may not be traced. No calls: all.
  std::size_t count(const Calls& calls = {}) const;
  // Kills the process before its nth call of all, from 0.
  TracedEnd killAt(std::size_t point) const;
  // Lets the nth of some calls fail, from 0; also all that follow when the trouble lasts.
  TracedEnd failAt(std::size_t point, int error, const Calls& calls, bool isLasting = false) const;

 private:
  struct Told;
  struct Strike;
  class Tracer;
  [[noreturn]] void beChild(Told& told) const;
  TracedEnd trace(Strike& strike) const;

  std::function<int()> m_work;
  std::function<std::string()> m_after;
  std::string m_folder;
};

// Tries `work` at each point: `prepare` puts the world in order before each, `look` says what must
// hold after it. Fails when the points were fewer than `least`; skips where nothing may be traced.
struct TracedSweep {
  std::string name;
  TracedWork work;
  std::function<void()> prepare;
  std::function<void(const TracedEnd&)> look;
  std::size_t least = 5;

  // A kill before each system call.
  void killEverywhere() const;
  // Each of the calls that may end with the error does so once; or from each on for good.
  void failEverywhere(int error) const;
  void failFromEverywhere(int error, const Calls& calls) const;

 private:
  void sweep(const std::string& what, std::size_t count,
             const std::function<TracedEnd(std::size_t)>& strike) const;
};

}  // namespace orca_tests

#endif
