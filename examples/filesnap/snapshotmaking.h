#ifndef FILESNAP_SNAPSHOTMAKING_H
#define FILESNAP_SNAPSHOTMAKING_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "parameters.h"
#include "snapshotstore.h"

namespace filesnap {

// A snapshot is filled under a temporary name and renamed when it is whole and durable, so that it
// exists whole or not at all. The folders of a session are worked on one after the other: whatever
// the number of files, a few descriptors are open.
//
// All operations throw Failure.

// A file to be snapshotted, and how.
struct Request {
  std::filesystem::path file;
  Parameters parameters;
};

// Opens a regular file by its path. Empty, with errno set, when it is none.
Descriptor openSource(const std::filesystem::path& file);

// Makes the snapshot folders, removes what dead processes left, and checks that the files can be
// read and, where blocks cannot be shared, that there is room for the copies.
void prepareFiles(const std::vector<Request>& requests);

// Called with a file and the percentage done.
using Report = std::function<void(const std::filesystem::path& file, int percent)>;

// Makes a snapshot of each file, all or none, and returns their paths. Fails when a file changed
// meanwhile or, where that is wanted, when the copy does not read like the file.
std::vector<std::filesystem::path> snapshotFiles(const std::vector<Request>& requests,
                                                 const std::string& session, const Report& report);

// Removes snapshots that were made in vain, empty paths left out. Fails when one of them stays.
void withdraw(const std::vector<std::filesystem::path>& made);

// Nanoseconds since the epoch.
int64_t now();

// The part of a snapshot's name before the time: the start of its file's name.
std::string baseOf(const std::filesystem::path& file);

}  // namespace filesnap

#endif
