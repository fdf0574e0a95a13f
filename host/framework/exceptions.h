#ifndef FIHOST_FRAMEWORK_EXCEPTIONS_H
#define FIHOST_FRAMEWORK_EXCEPTIONS_H

#include <string>

namespace fihost {

// Type and text of the exception that is being handled.
std::string currentException();

}  // namespace fihost

#endif
