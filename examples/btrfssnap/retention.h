#ifndef BTRFSSNAP_RETENTION_H
#define BTRFSSNAP_RETENTION_H

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace btrfssnap {

// How many snapshots are kept in a folder, after a session has made new ones.
struct FolderLimits {
  std::map<std::string, int> keep;  // of each line of subvolumes
  std::set<std::string> fresh;      // the names of the new ones
  uid_t owner = 0;                  // of the subvolumes
};

// Removes the oldest snapshots beyond the limits and returns their paths. None goes that is fresh,
// younger than the beginning of the session (nanoseconds since the epoch: another session may have
// just made it) or imported. The folder is read once, and locked meanwhile. Throws Failure.
std::vector<std::filesystem::path> removeOldest(const std::filesystem::path& folder,
                                                const FolderLimits& limits, int64_t begun);

}  // namespace btrfssnap

#endif
