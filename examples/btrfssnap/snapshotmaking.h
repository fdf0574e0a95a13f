#ifndef BTRFSSNAP_SNAPSHOTMAKING_H
#define BTRFSSNAP_SNAPSHOTMAKING_H

#include "common/keeping.h"
#include "parameters.h"

namespace btrfssnap {

using namespace samples;

// A snapshot is made under a temporary name, and gets its name when those of its session are there.
// That the names last is waited for after the writers may go on. The subvolumes of a session are
// worked on one after the other: whatever their number, a few descriptors are open.
//
// All operations throw Failure.

using Request = RequestOf<Parameters>;
using Requests = std::vector<Request>;

// Makes the folders, removes what dead processes left, and checks that snapshots can be made there.
void checkSources(Requests& requests);

// Makes a snapshot of each subvolume, and says so in its request.
void takeSnapshots(Requests& requests, const std::string& session);

// Waits until the names of the snapshots in a folder last.
void waitForSnapshots(const std::filesystem::path& folder);

// When what is made from now on will have been made: nanoseconds since the epoch, by the clock of
// the file system.
int64_t now();

}  // namespace btrfssnap

#endif
