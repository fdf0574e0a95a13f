#ifndef FIHOST_CHECK_APART_H
#define FIHOST_CHECK_APART_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace fihost::check {

// How a piece of work in a process of its own ended.
struct Outcome {
  enum Kind { Passed, Failed, Skipped };
  Kind kind = Failed;
  std::string text;  // what the work returned, what is broken, or why it was skipped
};

// A piece of work in a process of its own, which began as a copy of this one and leads a process
// group. What it throws, a crash, an exit and a hang end the work alone. One thread.
class Apart {
 public:
  using Milliseconds = std::chrono::milliseconds;

  // Starts the work. Throws std::system_error when no process can be had.
  explicit Apart(const std::function<std::string()>& work);
  // Ends what is still running.
  ~Apart();
  Apart(const Apart&) = delete;
  Apart& operator=(const Apart&) = delete;

  // Waits for the outcome. Where there is none, it says how the process ended and what of the
  // provider was being called; a process that is not done in time is ended.
  Outcome wait(Milliseconds limit);
  // Ends the process and all that it started that time after the provider's operation has begun.
  // True when it was still at it; false when it came to its end before.
  bool killDuring(const std::string& operation, std::chrono::microseconds time, Milliseconds limit);

 private:
  [[noreturn]] void perform(const std::function<std::string()>& work, int fd);
  bool readUntil(std::chrono::steady_clock::time_point end);
  bool hasEnded() const;
  void reap();
  std::string howItEnded() const;

  char* m_operation;  // what is being called, in memory that both processes see
  pid_t m_process = -1;
  int m_pipe = -1;
  bool m_isOpen = true;
  std::string m_answer;
  std::optional<int> m_status;
};

// Does the work in a process of its own and returns what it returned; throws what it threw as
// Broken or Skipped, and Broken when it did not come to its end.
std::string workApart(const std::function<std::string()>& work, Apart::Milliseconds limit);

}  // namespace fihost::check

#endif
