#include "retention.h"

#include <cfifilelock.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "common/failure.h"
#include "snapshotmaking.h"
#include "snapshotstore.h"

namespace filesnap {

namespace {

namespace fs = std::filesystem;

// Under the prefix of temporaries, with as many characters: what a kill leaves is swept like them.
constexpr char kLock[] = ".filesnap-tmp.locked";
constexpr int64_t kLongestSession = 24LL * 3600 * 1000000000;  // a day, in nanoseconds

struct Found {
  int64_t created;
  pid_t process;
  std::string name;
  bool operator<(const Found& other) const { return created < other.created; }
};

// A snapshot's name without time and number.
std::string stem(const std::string& name) {
  const std::size_t number = name.rfind('.');
  const std::size_t time = number == 0 ? number : name.rfind('.', number - 1);
  return name.substr(0, time);
}

std::optional<SnapshotInfo> trustedInfo(const Folder& folder, const std::string& name) {
  try {
    auto snapshot = snapshotIn(folder, name);
    if (snapshot) return std::move(snapshot->info);
  } catch (const Failure&) {
  } catch (const std::system_error&) {
  }
  return std::nullopt;  // what cannot be told to be ours is neither counted nor removed
}

// The snapshots of the files that have a limit, by their files, oldest first.
std::map<std::string, std::vector<Found>> find(const Folder& folder, const FolderLimits& limits) {
  std::set<std::string> stems;
  for (const auto& [file, keep] : limits.keep) stems.insert(baseOf(file));
  std::map<std::string, std::vector<Found>> found;
  for (const std::string& name : namesIn(folder.descriptor)) {
    if (stems.count(stem(name)) == 0) continue;
    const auto info = trustedInfo(folder, name);
    if (info) found[info->source].push_back({info->created, info->process, name});
  }
  for (auto& [file, snapshots] : found) std::sort(snapshots.begin(), snapshots.end());
  return found;
}

// Whether the session of another process may still be using a snapshot. After a day the process is
// likely to be another one with the same number.
bool isInUse(const Found& snapshot) {
  if (snapshot.process == 0 || snapshot.process == getpid()) return false;
  if (snapshot.created + kLongestSession < now()) return false;
  return kill(snapshot.process, 0) == 0 || errno == EPERM;
}

std::vector<std::string> beyond(int keep, const std::vector<Found>& snapshots,
                                const std::set<std::string>& fresh, int64_t begun) {
  std::vector<std::string> names;
  auto excess = static_cast<std::ptrdiff_t>(snapshots.size()) - keep;
  for (const Found& snapshot : snapshots) {
    if (excess <= 0) break;
    // The clock may have been set back: what was just made stays, whatever its time.
    const bool isFresh = snapshot.created >= begun || fresh.count(snapshot.name) != 0;
    if (isFresh || isInUse(snapshot)) continue;
    names.push_back(snapshot.name);
    --excess;
  }
  return names;
}

// What removeOldest does, in an opened folder and under its lock.
std::vector<fs::path> removeBeyond(const Folder& folder, const FolderLimits& limits,
                                   int64_t begun) {
  std::vector<fs::path> removed;
  const orca_pdk::CFiFileLock lock(folder.descriptor.get(), kLock);
  for (const auto& [file, snapshots] : find(folder, limits)) {
    const auto limit = limits.keep.find(file);
    if (limit == limits.keep.end()) continue;
    for (const std::string& name : beyond(limit->second, snapshots, limits.fresh, begun)) {
      removeIn(folder, name);
      removed.push_back(folder.path / name);
    }
  }
  return removed;
}

}  // namespace

std::vector<fs::path> removeOldest(const fs::path& path, const FolderLimits& limits,
                                   int64_t begun) try {
  return withMessage("FILESNAP_DISPOSE_FAILED", path, [&]() -> std::vector<fs::path> {
    const auto folder = findFolder(path);
    return folder ? removeBeyond(*folder, limits, begun) : std::vector<fs::path>();
  });
} catch (const orca_pdk::CFiLockHeld& held) {
  throw failure("FILESNAP_LOCKED", {path / kLock, held.process()});
}

}  // namespace filesnap
