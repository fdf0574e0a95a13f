#include "trace/event.h"

namespace fihost {

std::string changedBy(const Call& call) {
  std::string changed;
  for (const std::string& part : {call.done, call.known, std::string(call.operation->leaves)}) {
    if (!part.empty()) changed += (changed.empty() ? "" : "; ") + part;
  }
  return changed.empty() ? "nothing was called that changes data" : changed;
}

}  // namespace fihost
