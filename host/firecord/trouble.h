#ifndef FIRECORD_TROUBLE_H
#define FIRECORD_TROUBLE_H

#include <string>

namespace firecord {

// Exit statuses that are the program's own. All others are the tool's.
enum Exit : int {
  kNotRecorded = 124,    // the call that was to be played back was not recorded
  kTroubled = 125,       // wrong use, or the recording cannot be read or written
  kNotExecutable = 126,  // the tool is there, and cannot be run
  kNotFound = 127        // there is no such tool
};

// Why the program cannot go on: thrown, and said by main.
struct Trouble {
  Exit exit;
  std::string text;
};

}  // namespace firecord

#endif
