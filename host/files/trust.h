#ifndef FIHOST_FILES_TRUST_H
#define FIHOST_FILES_TRUST_H

#include <string>

#include "cli/exitstatus.h"

namespace fihost {

// What another user, neither root nor the caller, owns or can change is not trusted, nor what lies
// below it. A sticky folder that everybody writes to (/tmp) is passed on the way to a folder of the
// caller's own, and on no other.

// Where a path leads, with its links followed: each of them, and each folder on the way, is looked
// at before what lies behind it. Empty when there is no such thing; somebody else may make it then,
// so that it must be looked at again. Throws a Problem with that exit status; its text begins with
// `what` and names what is not trusted.
std::string trustedPlace(const std::string& path, const char* what, Exit exit);

}  // namespace fihost

#endif
