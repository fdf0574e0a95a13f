#ifndef FIHOST_TRACE_PRINTER_H
#define FIHOST_TRACE_PRINTER_H

#include "trace/event.h"

namespace fihost {

// Prints each call on standard error: before it the name and the arguments, after it the answer,
// the time and the outputs. Steps or not, all calls are shown.
class Printer : public CallObserver {
 public:
  void begins(const Call& call) override;
  void ended(const Call& call) override;
};

}  // namespace fihost

#endif
