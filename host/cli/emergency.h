#ifndef FIHOST_CLI_EMERGENCY_H
#define FIHOST_CLI_EMERGENCY_H

#include <functional>
#include <string>

namespace fihost {

// Ends the host with its answer where nothing else can: when what is being called crashes, exits,
// aborts, raises what nobody can catch, or does not come back in time, and when a signal ends the
// host. The operation and its node are named on standard error and in the answer; the exit status
// is 1, after a signal from outside that signal. One object at a time, until the process ends.
class Emergency {
 public:
  // Prints the answer with a failure in it: what was being called and what happened. It runs in a
  // signal handler, on a heap that may be damaged.
  using PrintAnswer = std::function<void(const std::string& what)>;
  // Prints a last word in place of an answer that could not be made; nothing but writing.
  using PrintText = std::function<void(const char* text, std::size_t size)>;

  // `timeout`: seconds after which something that was called counts as lost; 0: none.
  Emergency(PrintAnswer printAnswer, PrintText printInstead, int timeout);
  ~Emergency();
  Emergency(const Emergency&) = delete;
  Emergency& operator=(const Emergency&) = delete;
};

}  // namespace fihost

#endif
