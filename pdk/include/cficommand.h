#ifndef ORCA_PDK_CFICOMMAND_H
#define ORCA_PDK_CFICOMMAND_H

#include <cstddef>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitracelog.h"

namespace orca_pdk_4_4 {

// What is known of a program that was to be run.
enum EFiCommandOutcome : int {
  FI_COMMAND_ENDED = 0,    // it ran to its end, and has an exit status
  FI_COMMAND_CUT_OFF = 1,  // it was ended, or output is missing: nobody knows what it did
  FI_COMMAND_NOT_RUN = 2,  // there never was a process
  FI_COMMAND_NO_INPUT = 3  // the same: in this process the framework runs all commands, and it
                           // passes no input on
};

// How a command ended.
struct ORCA_PDK_API SFiCommandEnd {
  EFiCommandOutcome outcome = FI_COMMAND_NOT_RUN;
  int status = -1;                 // the exit status, -1 where there is none
  std::string how;                 // for a message, unless the status is 0
  std::vector<std::string> lines;  // what was printed, as CFiExecPipeBase::ExecMain gives it

  // The last line that is not empty, fit for a message whatever was printed: at most 200
  // characters, with "?" for what is not printable ASCII, and "***" for the secret where one is
  // given. "-" where there is none.
  std::string lastLine(const std::string& secret = std::string()) const;
};

// A command of an external tool, like the one of an array, run to its end by CFiExecPipePosix.
// Short memory throws std::bad_alloc.
struct ORCA_PDK_API SFiCommand {
  std::vector<std::string> words;  // the program's path, and its arguments as they are
  std::string input = {};          // its standard input, such as a login, which is not traced and
                                   // which no other user can see
  unsigned long timeout = 30;      // seconds without output, after which the program is ended
  std::size_t outputLimit = std::size_t{16} << 20;  // bytes, see CFiExecPipeBase

  // The words as one command text, for messages.
  std::string text() const;
  // A program that cannot be started counts as one that ended with status 1. A word with a NUL
  // byte, which would end the command there, is not run. The log may be empty.
  SFiCommandEnd run(const CFiTraceLogPtr& log) const;
};

}  // namespace orca_pdk_4_4

#endif
