#ifndef FILESNAP_SNAPSHOTMAKING_H
#define FILESNAP_SNAPSHOTMAKING_H

#include <functional>

#include "common/keeping.h"
#include "parameters.h"

namespace filesnap {

using namespace samples;

// A snapshot is filled under a temporary name and renamed when it is whole and durable, so that it
// exists whole or not at all.
//
// All operations throw Failure.

using Request = RequestOf<Parameters>;
using Requests = std::vector<Request>;

// Opens a regular file by its path. Empty, with errno set, when it is none.
Descriptor openSource(const std::filesystem::path& file);

// Makes the snapshot folders, removes what dead processes left, and checks that the files can be
// read and, where blocks cannot be shared, that there is room for the copies.
void prepareFiles(Requests& requests);

// Called with a file and the percentage done.
using Report = std::function<void(const std::filesystem::path& file, int percent)>;

// Makes a snapshot of each file, and says so in its request. Fails when a file changed meanwhile
// or, where that is wanted, when the copy does not read like the file.
void snapshotFiles(Requests& requests, const std::string& session, const Report& report);

// Nanoseconds since the epoch.
int64_t now();

// The part of a snapshot's name before the time: the start of its file's name.
std::string baseOf(const std::filesystem::path& file);

}  // namespace filesnap

#endif
