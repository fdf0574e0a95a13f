#ifndef FIHOST_CLI_EXITSTATUS_H
#define FIHOST_CLI_EXITSTATUS_H

#include <string>

namespace fihost {

// Exit statuses of the program.
enum Exit : int {
  kDone = 0,       // everything asked for was done
  kRefused = 1,    // the provider refused or failed, or a finding was made
  kWrongUse = 2,   // the command line or the state does not fit
  kNotLoaded = 3,  // the plug-in could not be loaded
};

// What ends a verb before its end other than a provider: thrown, and shown by main.
struct Problem {
  Exit exit;
  std::string text;
};

}  // namespace fihost

#endif
