#ifndef ORCA_PDK_CFIEXECPIPECHILD_H
#define ORCA_PDK_CFIEXECPIPECHILD_H

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace orca_pdk_4_4 {

class CFiTraceLog;

// The environment of a command: the host's with some variables replaced or added, made before the
// child is, which then has nothing to allocate.
class CFiChildEnvironment {
 public:
  // False when memory is short; the rest of the changes is then missing.
  bool build();
  char* const* get() const;

 private:
  static constexpr std::size_t kMostTexts = 16;

  void copyHost();
  void put(const char* name, const char* value);

  std::array<std::string, kMostTexts> m_texts;
  std::size_t m_textCount = 0;
  std::vector<char*> m_entries;
};

// What a child needs to know before it becomes the command.
struct SFiChildPlan {
  const char* stdinFile;  // null: /dev/null
  int readEnd;            // of the pipe; neither end has the number of a standard stream
  int writeEnd;
  char* const* arguments;
  char* const* environment;
};

// Starts a child that sets up its standard streams and becomes the command, or ends with status 1.
// What goes wrong in it is written to the log, unless that is null. Returns its process id, or -1
// with errno.
pid_t startChild(const SFiChildPlan& plan, CFiTraceLog* log);

}  // namespace orca_pdk_4_4

#endif
