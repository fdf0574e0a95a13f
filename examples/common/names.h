#ifndef SAMPLES_NAMES_H
#define SAMPLES_NAMES_H

#include <ctime>
#include <string>

namespace samples {

// Parts of the names of snapshots.

// A time (UTC), as in 20260131T235959Z.
std::string timeText(std::time_t time);

// A text that leaves room in a name, which may have 255 bytes, for 50 more; cut between characters.
std::string shortened(std::string text);

}  // namespace samples

#endif
