#ifndef BTRFSSNAP_SNAPSHOTNAME_H
#define BTRFSSNAP_SNAPSHOTNAME_H

#include <ctime>
#include <optional>
#include <string>

namespace btrfssnap {

// Names in a folder of snapshots:
//
//   TEXT.UUID                       a snapshot, read-only
//   TEXT.UUID.rw                    a snapshot that was made to be written to
//   .btrfssnap-tmp.XXXXXX           something on its way, or the lock
//   .btrfssnap-replaced.XXXXXX.UUID what the restore of that snapshot replaced
//
// TEXT follows the user's pattern, UUID is that of the snapshot.

// The lock of a folder, under a name of temporaries.
inline constexpr char kLock[] = ".btrfssnap-tmp.locked";

// What a snapshot's name says.
struct SnapshotName {
  std::string uuid;
  bool isWritable = false;
};

// Reads a name; nothing when it is not that of a snapshot.
std::optional<SnapshotName> readName(const std::string& name);
// The name of a snapshot.
std::string nameOf(const std::string& text, const SnapshotName& snapshot);

// Fills in a pattern: %n is the subvolume's name, %s the session, %t the time (UTC), %% a "%". No
// more than fits into a name, cut between characters.
std::string fillPattern(const std::string& pattern, const std::string& subvolume,
                        const std::string& session, std::time_t time);

// A new temporary name, and one for what the restore of a snapshot replaces. Throw
// std::system_error.
std::string temporaryName();
std::string replacedName(const std::string& uuid);
bool isTemporaryName(const std::string& name);
// Whether something was kept for that snapshot under this name.
bool isReplacedName(const std::string& name, const std::string& uuid);

}  // namespace btrfssnap

#endif
