#ifndef FIHOST_CLI_NAMES_H
#define FIHOST_CLI_NAMES_H

#include <string>
#include <string_view>

namespace fihost {

// The meaning of an operation's answer; claim and interpose have answers of their own. "code
// without a known meaning" where there is none.
std::string meaningOf(std::string_view operation, int code);

// True where an answer means that the operation did what it was called for.
bool isGood(std::string_view operation, int code);

// The name of a snapshot's status; the number where it has none.
std::string statusName(long status);

// Text from outside made fit for one line of a terminal: control characters become "\xNN", line
// breaks and tabs a blank.
std::string printable(std::string_view text);

// A duration of milliseconds with one digit behind the point.
std::string milliseconds(double value);

}  // namespace fihost

#endif
