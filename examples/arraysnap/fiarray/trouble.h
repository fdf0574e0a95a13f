#ifndef FIARRAY_TROUBLE_H
#define FIARRAY_TROUBLE_H

#include "array.h"

namespace fiarray {

// Kinds of trouble, and what each does to a command, with the meaning of its argument.
//
//   none     ends all trouble
//   delay    waits that many seconds before it begins
//   silence  does its work and answers that many seconds later
//   garbage  does its work and answers with bytes that mean nothing
//   exit     does nothing and ends with that status
//   crash    kills itself in the middle of its work
const std::vector<std::string>& troubleKinds();

// Takes one command's share of the trouble in the state, durably.
Trouble takeTrouble(Store& store);

// Before the work: delay and exit. Throws Fault.
void meetBefore(const Trouble& trouble);

// The middle of the work: crash.
void meetMidway(const Trouble& trouble);

// The text that is printed for an answer, after silence; garbage replaces it.
std::string meetAfter(const Trouble& trouble, const Answer& answer);

}  // namespace fiarray

#endif
