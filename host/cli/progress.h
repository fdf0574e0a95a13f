#ifndef FIHOST_CLI_PROGRESS_H
#define FIHOST_CLI_PROGRESS_H

#include "trace/event.h"

namespace fihost {

// Prints a line for each operation on standard output: name, time, answer, node. On a terminal a
// line shows the operation while it runs.
class Progress : public CallObserver {
 public:
  void begins(const Call& call) override;
  void ended(const Call& call) override;
};

}  // namespace fihost

#endif
