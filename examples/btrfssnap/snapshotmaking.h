#ifndef BTRFSSNAP_SNAPSHOTMAKING_H
#define BTRFSSNAP_SNAPSHOTMAKING_H

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "parameters.h"

namespace btrfssnap {

// A snapshot is made under a temporary name, and gets its name when those of its session are there.
// That the names last is waited for after the writers may go on. The folders of a session are
// worked on one after the other, and their subvolumes too: whatever their number, a few descriptors
// are open.
//
// All operations throw Failure.

// A subvolume to be snapshotted, and how.
struct Request {
  std::filesystem::path subvolume;
  Parameters parameters;
};

// A snapshot that was made.
struct Made {
  std::filesystem::path path;
  std::string line;  // of what it was taken of, see subvolume.h
  uid_t owner = 0;   // of that
};

// Makes the folders, removes what dead processes left, and checks that snapshots can be made there.
void checkSources(const std::vector<Request>& requests);

// Makes a snapshot of each subvolume, all or none.
std::vector<Made> takeSnapshots(const std::vector<Request>& requests, const std::string& session);

// Waits until the names of the snapshots in a folder last.
void waitForSnapshots(const std::filesystem::path& folder);

// Removes snapshots that were made in vain, those without a path left out. Fails when one of them
// stays.
void withdraw(const std::vector<Made>& made);

// When what is made from now on will have been made: nanoseconds since the epoch, by the clock of
// the file system.
int64_t now();

}  // namespace btrfssnap

#endif
