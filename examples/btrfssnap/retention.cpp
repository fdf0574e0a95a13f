#include "retention.h"

#include <algorithm>

#include "imports.h"
#include "snapshotstore.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;

struct Old {
  std::string name;
  Identity identity;
  bool operator<(const Old& other) const { return identity.created < other.identity.created; }
};

// What can be told to be a snapshot; others are neither counted nor removed.
std::optional<Subvolume> snapshotIn(const Folder& folder, const std::string& name) {
  if (!readName(name)) return std::nullopt;
  try {
    return findIn(folder, name, {}).snapshot;
  } catch (const Failure&) {
  } catch (const std::system_error&) {
  }
  return std::nullopt;
}

// The snapshots of each line that has a limit, oldest first.
std::map<std::string, std::vector<Old>> find(const Folder& folder, const FolderLimits& limits) {
  std::map<std::string, std::vector<Old>> found;
  for (const std::string& name : namesIn(folder.descriptor)) {
    auto snapshot = snapshotIn(folder, name);
    if (!snapshot) continue;
    const std::string line = lineOfSource(*snapshot);
    if (limits.keep.count(line) != 0) found[line].push_back({name, std::move(snapshot->identity)});
  }
  for (auto& [line, snapshots] : found) std::sort(snapshots.begin(), snapshots.end());
  return found;
}

bool mayGo(const Old& snapshot, const FolderLimits& limits, int64_t begun) {
  return snapshot.identity.made < begun && limits.fresh.count(snapshot.name) == 0 &&
         !isImported(snapshot.identity);
}

}  // namespace

std::vector<fs::path> removeOldest(const fs::path& path, const FolderLimits& limits,
                                   int64_t begun) {
  return withMessage("BTRFSSNAP_DISPOSE_FAILED", path, [&] {
    std::vector<fs::path> removed;
    const auto folder = LockedFolder::findToRemove(path, limits.owner);
    if (!folder) return removed;
    for (const auto& [line, snapshots] : find(folder->folder(), limits)) {
      auto excess = static_cast<std::ptrdiff_t>(snapshots.size()) - limits.keep.at(line);
      for (const Old& old : snapshots) {
        if (excess <= 0) break;
        if (!mayGo(old, limits, begun)) continue;
        removeIn(*folder, old.identity);
        removed.push_back(path / old.name);
        --excess;
      }
    }
    return removed;
  });
}

}  // namespace btrfssnap
