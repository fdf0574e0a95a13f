#include "state/worklock.h"

#include <fcntl.h>
#include <string.h>

#include "cli/exitstatus.h"
#include "state/statefolder.h"

namespace fihost {

namespace {

constexpr char kLockName[] = "/at-work";

// The byte of a session.
struct flock lockOf(std::int64_t number) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = number;
  lock.l_len = 1;
  return lock;
}

[[noreturn]] void fail(const std::string& folder) {
  throw Problem{kWrongUse, "state: cannot lock " + folder + kLockName + ": " + strerror(errno)};
}

}  // namespace

WorkLock::WorkLock(const std::string& folder, std::int64_t number)
    : m_file(openStateFile(folder + kLockName)) {
  struct flock lock = lockOf(number);
  if (fcntl(m_file.get(), F_OFD_SETLK, &lock) != 0) fail(folder);
}

bool WorkLock::isHeld(const std::string& folder, std::int64_t number) {
  if (!isStateFile(folder + kLockName)) return false;
  const Descriptor file = openStateFile(folder + kLockName);
  struct flock lock = lockOf(number);
  if (fcntl(file.get(), F_OFD_GETLK, &lock) != 0) fail(folder);
  return lock.l_type != F_UNLCK;
}

}  // namespace fihost
