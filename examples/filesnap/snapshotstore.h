#ifndef FILESNAP_SNAPSHOTSTORE_H
#define FILESNAP_SNAPSHOTSTORE_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "filecopy.h"
#include "parameters.h"
#include "snapshotinfo.h"
#include "staging.h"

namespace filesnap {

// Snapshots are directories NAME.TIME.NUMBER below the snapshot directory of their file, each with
// the files "data" and "info". A snapshot is filled under a temporary name and renamed when it is
// whole, so that it exists whole or not at all.
//
// All operations throw Failure.

// State of a snapshot, as getStatus answers it.
enum class SnapshotState { kAbsent = 0, kDamaged = 1, kReady = 8 };

// The folder in which snapshots of a file are kept.
std::filesystem::path snapshotFolder(const std::filesystem::path& file,
                                     const Parameters& parameters);

// Makes the folder, removes what dead processes left, and checks that the file can be read and,
// where blocks cannot be shared, that there is room for a copy.
void prepareSnapshot(const std::filesystem::path& file, const Parameters& parameters);

// A snapshot that is whole, under its temporary name.
struct StagedSnapshot {
  std::filesystem::path file;
  SnapshotInfo info;
  Staging staging;
};

// Copies a file into a staged snapshot. Progress is called with the percentage done. Fails when the
// file changed meanwhile or, where wanted, when the digests differ.
StagedSnapshot stageSnapshot(const std::filesystem::path& file, const Parameters& parameters,
                             const std::string& session, const std::function<void(int)>& progress);

// Gives a staged snapshot its final name, which is returned. It stays when its staging is kept.
std::filesystem::path publishSnapshot(StagedSnapshot& staged);

// Removes the oldest snapshots of a file beyond the number to keep, none of the fresh ones; returns
// their paths.
std::vector<std::filesystem::path> removeOldest(const std::filesystem::path& file,
                                                const Parameters& parameters,
                                                const std::vector<std::filesystem::path>& fresh);

// What is kept about a snapshot; nothing when there is none. Fails for a directory that is none of
// ours.
std::optional<SnapshotInfo> readSnapshot(const std::filesystem::path& snapshot);

// Looks at a snapshot's data: the size and, where one was taken, the digest.
SnapshotState checkSnapshot(const std::filesystem::path& snapshot);

// Puts the data of a snapshot in the place of a file, which may be gone, with the mode and owner
// that the file had. Links and whatever else is no regular file are left alone.
void restoreSnapshot(const std::filesystem::path& snapshot, const std::filesystem::path& file);

// Removes a snapshot, and its folder when it was the last one. One that is gone is no failure.
void removeSnapshot(const std::filesystem::path& snapshot);

}  // namespace filesnap

#endif
