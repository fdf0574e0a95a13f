#ifndef FIHOST_CLI_ANSWERTEXT_H
#define FIHOST_CLI_ANSWERTEXT_H

#include <string>

#include "trace/event.h"

namespace fihost {

// What an operation answered, for people: its meaning, the number with it where it is no good one,
// or what was raised.
std::string answerText(const Call& call);

// A failure in one line.
std::string failureText(const Failure& failure);

}  // namespace fihost

#endif
