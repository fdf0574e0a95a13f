#ifndef FIRECORD_OUTPUT_H
#define FIRECORD_OUTPUT_H

#include <string_view>

namespace firecord {

// Writes all of it, and waits where the descriptor takes no more at the moment. False with errno
// when that cannot be done.
bool writeAll(int fd, std::string_view bytes);

// Opens what of descriptors 0 to 2 the caller has closed, so that no other file gets their numbers.
void openStandardDescriptors();

// From here on, writing to a pipe that nobody reads ends with an error and not by a signal, in this
// program alone: what it starts gets the signal as the caller had it.
void surviveClosedPipes();

}  // namespace firecord

#endif
