#ifndef FILESNAP_SNAPSHOTINFO_H
#define FILESNAP_SNAPSHOTINFO_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace filesnap {

// By which data that nobody touched is known again. All zero where none was recorded.
struct DataMark {
  int64_t modified = 0;  // nanoseconds since the epoch, like the other
  int64_t changed = 0;
  uint64_t inode = 0;
};

// What is kept about a snapshot: a JSON document in the file "info" beside its data.
struct SnapshotInfo {
  std::string name;     // name of the snapshot's folder
  std::string source;   // path of the file
  std::string session;  // session that made it
  std::string digest;   // MD5 digest; empty when none was taken
  int64_t created = 0;  // nanoseconds since the epoch
  int64_t size = 0;     // bytes
  mode_t mode = 0;      // permissions of the file
  uid_t owner = 0;
  gid_t group = 0;
  DataMark mark;
  pid_t process = 0;  // that made it; 0 where that was not recorded
};

// The document. Names are bytes: what is no printable ASCII, and "%", stands as %XX.
std::string toText(const SnapshotInfo& info);

// Reads it back; nothing when it is not such a text, whole. Also reads the key=value lines of
// before.
std::optional<SnapshotInfo> fromText(const std::string& text);

}  // namespace filesnap

#endif
