#ifndef FILESNAP_SNAPSHOTINFO_H
#define FILESNAP_SNAPSHOTINFO_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace filesnap {

// What is kept about a snapshot: key=value lines in the file "info" beside its data.
struct SnapshotInfo {
  std::string name;     // name of the snapshot's directory
  std::string source;   // path of the file
  std::string session;  // session that made it
  std::string digest;   // MD5 digest; empty when none was taken
  int64_t created = 0;  // nanoseconds since the epoch
  int64_t size = 0;     // bytes
  mode_t mode = 0;      // permissions of the file
  uid_t owner = 0;
  gid_t group = 0;
};

// The lines; bytes that would end a line are written as %XX.
std::string toText(const SnapshotInfo& info);

// Reads the lines back; nothing when they are not such a text, whole.
std::optional<SnapshotInfo> fromText(const std::string& text);

}  // namespace filesnap

#endif
