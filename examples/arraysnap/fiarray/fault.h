#ifndef FIARRAY_FAULT_H
#define FIARRAY_FAULT_H

#include <cerrno>
#include <string>
#include <system_error>

namespace fiarray {

// Exit status of the tool, one for each kind of fault.
enum Status : int {
  kDone = 0,
  kWrongUse = 2,      // the command line
  kLoginRefused = 3,  // wrong or missing login
  kUnknown = 4,       // no such array, enclosure or device
  kConflict = 5,      // exists already, is in use, number taken
  kSizesDiffer = 6,   // source and target of a clone
  kCopyFailed = 7,    // a copy that was started could not be finished
  kIoError = 8,       // the system refused something
  kStateDamaged = 9,  // the state file cannot be read
  kNotCertain = 10    // done, but a crash may undo it, or the answer is lost
};

// Why a command cannot be carried out. Nothing but a copy in progress is changed when it is thrown,
// except with kNotCertain.
struct Fault {
  int status;
  std::string text;
};

// A fault of the system, with the words for an error number.
inline Fault ioFault(const std::string& what, int error = errno) {
  return {kIoError, what + ": " + std::generic_category().message(error)};
}

}  // namespace fiarray

#endif
