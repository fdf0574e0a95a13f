#ifndef FIRECORD_TOOL_H
#define FIRECORD_TOOL_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "call.h"
#include "ownfile.h"

namespace firecord {

// A tool that runs, with this program's standard input, environment and signals. Signals that
// others send to this program go to the tool, and it does not outlive this program.
class Tool {
 public:
  // Starts it: its name or path, and arguments. Its standard output and error are pipes; one for
  // both (joined) keeps their order. Throws Trouble when it could not be started.
  Tool(const std::vector<std::string>& words, bool isJoined);
  Tool(const Tool&) = delete;
  Tool& operator=(const Tool&) = delete;

  // The ends to read from; the caller may take them. errors is none where they are joined.
  Descriptor output;
  Descriptor errors;

  // Waits for its end, and says how it ended. Throws Trouble.
  void wait(Call& call);

 private:
  pid_t m_pid = -1;
};

}  // namespace firecord

#endif
