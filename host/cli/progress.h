#ifndef FIHOST_CLI_PROGRESS_H
#define FIHOST_CLI_PROGRESS_H

#include "trace/event.h"

namespace fihost {

// Prints a line for each operation on standard output: name, time, answer, node.
class Progress : public CallObserver {
 public:
  void ended(const Call& call) override;
};

}  // namespace fihost

#endif
