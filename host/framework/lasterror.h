#ifndef FIHOST_FRAMEWORK_LASTERROR_H
#define FIHOST_FRAMEWORK_LASTERROR_H

#include <string>

#include "framework/caller.h"

namespace fihost {

// Takes the provider's last error away and returns its sentence in the native language; empty when
// there is none.
std::string takeLastError(Caller& caller);

// The id of a message as it travels; the text itself where it has none.
std::string messageId(const std::string& message);

}  // namespace fihost

#endif
