#ifndef FILESNAP_SNAPSHOTSTORE_H
#define FILESNAP_SNAPSHOTSTORE_H

#include <cfitypes.h>

#include <filesystem>
#include <optional>

#include "common/trust.h"
#include "snapshotinfo.h"

namespace filesnap {

using namespace samples;

// Snapshots are folders NAME.TIME.RANDOM below the snapshot folder of their file, each with the
// files "data" and "info". A snapshot counts only when it, its files and the folders above it are
// trusted (see trust.h). Paths of snapshots are absolute and hold no links.
//
// All operations throw Failure.

// The prefix of temporaries in a snapshot folder.
inline constexpr char kTemporary[] = ".filesnap-tmp.";
// And of those beside a file that is restored.
inline constexpr char kRestoring[] = ".filesnap-restore.";

// A snapshot, opened.
struct Snapshot {
  std::filesystem::path path;
  Descriptor directory;
  SnapshotInfo info;
  uid_t author = 0;  // who wrote the info
  uid_t owner = 0;   // of the file that it was taken of
};

// Opens a snapshot in a folder; nothing when there is none. Fails for what is none of ours or not
// trusted; also throws std::system_error.
std::optional<Snapshot> snapshotIn(const Folder& folder, const std::string& name);

// Looks at a snapshot's data: what is as it was left is ready; what is not must have the digest or,
// where none was taken, size and time of what was copied. Deep always reads. Fails for a damaged
// one.
orca_pdk::EFiSnapshotStatus checkSnapshot(const std::filesystem::path& path, bool deep);

// Puts the data of a snapshot in the place of the file that it was taken of, which may be gone,
// with the mode and owner that the file had. Links and whatever else is no regular file are left
// alone.
void restoreSnapshot(const std::filesystem::path& path, const std::filesystem::path& file);

// Removes a snapshot, and its folder when it was the last one. One that is gone is no failure.
void removeSnapshot(const std::filesystem::path& path);

// Removes a snapshot from an opened folder. Throws std::system_error.
void removeIn(const Folder& folder, const std::string& name);

// The mark of data, as it is now. Throws std::system_error.
DataMark markOf(const Descriptor& data);

}  // namespace filesnap

#endif
