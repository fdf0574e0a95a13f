#ifndef FIHOST_CLI_TEXT_H
#define FIHOST_CLI_TEXT_H

#include <string>

namespace fihost {

// Text from outside made fit for one line of a terminal: control characters become "\xNN", line
// breaks and tabs a blank.
std::string printable(const std::string& text);

// A duration of milliseconds with one digit behind the point.
std::string milliseconds(double value);

}  // namespace fihost

#endif
