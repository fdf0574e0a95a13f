#include "trace/event.h"

namespace fihost {

namespace {

std::string sentence(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) {
    if (!part.empty()) text += (text.empty() ? "" : "; ") + part;
  }
  return text;
}

}  // namespace

std::string changedBy(const Call& call) {
  const std::string changed = sentence({call.done, call.known, call.operation->leaves});
  return changed.empty() ? "nothing was called that changes data" : changed;
}

std::string changedIfLost(const Call& call) {
  const std::string leaves = call.operation->leaves;
  return sentence({call.done, leaves.empty() ? "what it did until then is not known" : leaves});
}

}  // namespace fihost
