#ifndef BTRFSSNAP_SNAPSHOTSTORE_H
#define BTRFSSNAP_SNAPSHOTSTORE_H

#include <cfitypes.h>

#include <filesystem>
#include <optional>
#include <string>

#include "common/failure.h"
#include "snapshotfolder.h"
#include "snapshotname.h"

namespace btrfssnap {

// Snapshots are subvolumes in a folder of snapshots. A name alone says nothing: the subvolume must
// have the UUID that the name ends with, and must have been taken of the subvolume that it is to be
// a snapshot of. Paths of snapshots are absolute and hold no links.
//
// All operations throw Failure.

// What is found under the name of a snapshot.
struct Found {
  long status = orca_pdk::FI_SNAPSHOT_ABSENT;  // as getStatus answers it
  std::optional<Subvolume> snapshot;           // opened, unless it is absent
  std::optional<Failure> reason;               // why it is not ready
};

// Looks at a snapshot. With a source, the snapshot of another one counts as absent; a source that
// is gone may be any. Throws for what cannot be a snapshot, or is not trusted.
Found findSnapshot(const std::filesystem::path& path, const std::filesystem::path& source);
// The same in an opened folder. Throws std::system_error as well.
Found findIn(const Folder& folder, const std::string& name, const std::filesystem::path& source);

// Gives the name of a subvolume to a fresh copy of a snapshot of it, in one step: there is never
// none. What had the name goes, or is kept until the snapshot is disposed of. Where the name is
// free, the copy takes it. Returns what is to be told of a restore that was done.
std::optional<Failure> restoreSnapshot(const std::filesystem::path& path,
                                       const std::filesystem::path& source, bool keepReplaced);

// Removes a snapshot and what was kept for it, so that both stay away, and its folder when it was
// the last one. One that is gone is no failure.
void removeSnapshot(const std::filesystem::path& path);

// The same in a locked folder; does not wait until it lasts. Throws std::system_error as well.
void removeIn(const LockedFolder& folder, const Identity& snapshot);

}  // namespace btrfssnap

#endif
