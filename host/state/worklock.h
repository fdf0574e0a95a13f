#ifndef FIHOST_STATE_WORKLOCK_H
#define FIHOST_STATE_WORKLOCK_H

#include <cstdint>
#include <string>

#include "files/descriptor.h"

namespace fihost {

// Shows to other hosts that a session is at work, as long as this object lives: a lock that the
// system takes away when the process ends, however it ends. A child of it that goes on without an
// exec keeps it as well.
class WorkLock {
 public:
  // `number` is the session's in this state folder. Throws a Problem (kWrongUse).
  WorkLock(const std::string& folder, std::int64_t number);

  // Whether a session is at work.
  static bool isHeld(const std::string& folder, std::int64_t number);

 private:
  Descriptor m_file;
};

}  // namespace fihost

#endif
