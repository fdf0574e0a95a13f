#include "retention.h"

#include <cfifilelock.h>
#include <signal.h>
#include <unistd.h>

#include "snapshotmaking.h"
#include "snapshotstore.h"

namespace filesnap {

namespace {

namespace fs = std::filesystem;

// Under the prefix of temporaries, with as many characters: what a kill leaves is swept like them.
constexpr char kLock[] = ".filesnap-tmp.locked";
constexpr int64_t kLongestSession = 24LL * 3600 * 1000000000;  // a day, in nanoseconds

struct Found : Kept {
  pid_t process;  // that made it
};

// A snapshot's name without time and number.
std::string stem(const std::string& name) {
  const std::size_t number = name.rfind('.');
  const std::size_t time = number == 0 ? number : name.rfind('.', number - 1);
  return name.substr(0, time);
}

std::optional<Found> foundIn(const Folder& folder, const std::string& name) {
  const auto snapshot = ifTold([&] { return snapshotIn(folder, name); });
  if (!snapshot) return std::nullopt;
  const SnapshotInfo& info = snapshot->info;
  return Found{{name, info.source, info.created, info.created}, info.process};
}

// Whether the session of another process may still be using a snapshot. After a day the process is
// likely to be another one with the same number.
bool isInUse(const Found& snapshot) {
  if (snapshot.process == 0 || snapshot.process == getpid()) return false;
  if (snapshot.made + kLongestSession < now()) return false;
  return kill(snapshot.process, 0) == 0 || errno == EPERM;
}

}  // namespace

std::vector<fs::path> removeOldest(const fs::path& path, const FolderLimits& limits) try {
  return withMessage("FILESNAP_DISPOSE_FAILED", path, [&]() -> std::vector<fs::path> {
    const auto folder = findFolder(path);
    if (!folder) return {};
    const orca_pdk::CFiFileLock lock(folder->descriptor.get(), kLock);
    std::set<std::string> stems;
    for (const auto& [file, keep] : limits.keep) stems.insert(baseOf(file));
    const auto look = [&](const std::string& name) {
      return stems.count(stem(name)) == 0 ? std::nullopt : foundIn(*folder, name);
    };
    const auto remove = [&](const Found& old) { removeIn(*folder, old.name); };
    return removeBeyond(*folder, limits, look, isInUse, remove);
  });
} catch (const orca_pdk::CFiLockHeld& held) {
  throw failure("FILESNAP_LOCKED", {path / kLock, held.process()});
}

}  // namespace filesnap
