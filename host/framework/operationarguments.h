#ifndef FIHOST_FRAMEWORK_OPERATIONARGUMENTS_H
#define FIHOST_FRAMEWORK_OPERATIONARGUMENTS_H

#include <string>
#include <vector>

#include "framework/records.h"
#include "trace/event.h"

// Arguments of operations, as they are passed and as observers see them.
namespace fihost::ops {

// A text that is null when it is empty; valid as long as the text.
inline char* orNull(std::string& text) { return text.empty() ? nullptr : text.data(); }

// Copies of texts as an array that an operation takes.
class TextArray {
 public:
  explicit TextArray(const std::vector<std::string>& texts);
  TextArray(const TextArray&) = delete;
  TextArray& operator=(const TextArray&) = delete;

  char** array() { return m_pointers.data(); }
  int count() const { return static_cast<int>(m_pointers.size()); }

 private:
  std::vector<std::string> m_texts;
  std::vector<char*> m_pointers;
};

// Values and more of them.
Values with(Values values, const Values& more);
Values ofNode(const Node& node);
Values ofNodes(const NodeSet& nodes);
Values ofSession(const NodeSet& nodes, const std::string& sessionId);
Values ofPairs(const NodeSet& sources, const NodeSet& snapshots, const std::string& sessionId);
Values ofSnapshot(const Node& source, const Node& snapshot);

}  // namespace fihost::ops

#endif
