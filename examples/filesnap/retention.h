#ifndef FILESNAP_RETENTION_H
#define FILESNAP_RETENTION_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace filesnap {

// How many snapshots of their files are kept in a folder, after a session has made new ones.
struct FolderLimits {
  std::map<std::string, int> keep;  // of each file, by its place
  std::set<std::string> fresh;      // the names of the new ones
};

// Removes the oldest snapshots beyond the limits and returns their paths. None goes that is fresh
// or younger than the beginning of the session (nanoseconds since the epoch): another session may
// have just made it. The folder is read once, and locked meanwhile. Throws Failure.
std::vector<std::filesystem::path> removeOldest(const std::filesystem::path& folder,
                                                const FolderLimits& limits, int64_t begun);

}  // namespace filesnap

#endif
