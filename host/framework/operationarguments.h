#ifndef FIHOST_FRAMEWORK_OPERATIONARGUMENTS_H
#define FIHOST_FRAMEWORK_OPERATIONARGUMENTS_H

#include <string>

#include "framework/records.h"
#include "trace/event.h"

// Arguments of operations, as they are passed and as observers see them.
namespace fihost::ops {

// A text that is null when it is empty; valid as long as the text.
inline char* orNull(std::string& text) { return text.empty() ? nullptr : text.data(); }

Values ofNode(const Node& node);
Values ofNodes(const NodeSet& nodes);
Values ofSession(const NodeSet& nodes, const std::string& sessionId);
Values ofPairs(const NodeSet& sources, const NodeSet& snapshots, const std::string& sessionId);

}  // namespace fihost::ops

#endif
