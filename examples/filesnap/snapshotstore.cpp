#include "snapshotstore.h"

#include <fcntl.h>
#include <unistd.h>

#include <system_error>

#include "common/failure.h"
#include "filecopy.h"
#include "staging.h"

namespace filesnap {

namespace {

namespace fs = std::filesystem;

constexpr int64_t kSecond = 1000000000;  // in nanoseconds

int64_t nanoseconds(const timespec& time) { return time.tv_sec * kSecond + time.tv_nsec; }

// Whether an error of opening says that something else than what was looked for has the name.
bool isOther(int error) {
  return error == ENOTDIR || error == ELOOP || error == EISDIR || error == EINVAL;
}

// A file of a snapshot. Empty, with errno set, when it cannot be opened.
Descriptor openPart(const Snapshot& snapshot, const char* name) {
  Descriptor file = openRegular(snapshot.directory, name);
  if (!file && errno != ENOENT && !isOther(errno)) raise("open");
  return file;
}

Failure notOurs(const Snapshot& snapshot) { return failure("FILESNAP_NOT_OURS", {snapshot.path}); }

Failure damaged(const Snapshot& snapshot) { return failure("FILESNAP_DAMAGED", {snapshot.path}); }

// Reads the info and believes it when all is trusted.
void readInfo(Snapshot& snapshot, const Folder& folder) {
  const Descriptor file = openPart(snapshot, "info");
  if (!file) throw notOurs(snapshot);
  const auto info = fromText(readText(file));
  if (!info || info->name != snapshot.path.filename()) throw notOurs(snapshot);
  snapshot.info = *info;
  snapshot.author = statusOf(file).st_uid;
  snapshot.owner = ownerOf(info->source);
  requireTrusted(folder, snapshot.owner);
  requireTrusted(snapshot.path, statusOf(snapshot.directory), snapshot.owner);
  requireTrusted(snapshot.path / "info", statusOf(file), snapshot.owner);
}

std::optional<Snapshot> openSnapshot(const fs::path& path) {
  return withMessage("FILESNAP_UNREADABLE", path, [&]() -> std::optional<Snapshot> {
    const auto folder = findFolder(path.parent_path());
    return folder ? snapshotIn(*folder, path.filename()) : std::nullopt;
  });
}

Descriptor openData(const Snapshot& snapshot) {
  return withMessage("FILESNAP_UNREADABLE", snapshot.path, [&] {
    Descriptor data = openPart(snapshot, "data");
    if (!data) throw damaged(snapshot);
    requireTrusted(snapshot.path / "data", statusOf(data), snapshot.owner);
    return data;
  });
}

bool isTouched(const DataMark& recorded, const DataMark& mark) {
  return mark.modified != recorded.modified || mark.changed != recorded.changed ||
         mark.inode != recorded.inode;
}

// Whether the data is what was recorded, so far as that can be told without reading it.
bool looksWhole(const Snapshot& snapshot, const Descriptor& data) {
  const SnapshotInfo& info = snapshot.info;
  if (statusOf(data).st_size != info.size) return false;
  const bool hasTime = info.digest.empty() && info.mark.modified != 0;
  return !hasTime || markOf(data).modified == info.mark.modified;
}

bool isWhole(const Snapshot& snapshot, const Descriptor& data, bool deep) {
  const std::string& digest = snapshot.info.digest;
  if (!looksWhole(snapshot, data)) return false;
  const bool mustRead = deep || isTouched(snapshot.info.mark, markOf(data));
  return digest.empty() || !mustRead || digestOf(data) == digest;
}

// Another user's word counts for that user's own things alone: a file that is that user's, in a
// group that the data shows, and that lends nobody any rights.
void requireClaim(const Snapshot& snapshot, const Descriptor& data) {
  const SnapshotInfo& info = snapshot.info;
  const struct stat status = statusOf(data);
  const bool isOwn = snapshot.author == geteuid() || snapshot.author == rootUser();
  const bool isProven = info.owner == snapshot.author && status.st_uid == snapshot.author &&
                        info.group == status.st_gid && (info.mode & (S_ISUID | S_ISGID)) == 0;
  if (isOwn || isProven) return;
  throw failure("FILESNAP_CLAIM", {snapshot.path, snapshot.author});
}

void requireSource(const Snapshot& snapshot, const fs::path& place) {
  if (place == snapshot.info.source) return;
  throw failure("FILESNAP_OTHER_SOURCE",
                {snapshot.path.string(), snapshot.info.source, place.string()});
}

void requireFile(const Folder& folder, const fs::path& file) {
  struct stat status = {};
  const int looked = retried([&] {
    return fstatat(folder.descriptor.get(), file.filename().c_str(), &status, AT_SYMLINK_NOFOLLOW);
  });
  if (looked != 0 && errno == ENOENT) return;
  if (looked != 0 || !isRegular(status)) {
    throw failure("FILESNAP_NOT_A_FILE", {file, cause()});
  }
}

// The owner first: who is given a file may not be lent another's rights by its mode.
void giveBackOwner(const Descriptor& file, const SnapshotInfo& info) {
  const struct stat status = statusOf(file);
  if (status.st_uid != info.owner || status.st_gid != info.group) {
    checked("fchown", [&] { return fchown(file.get(), info.owner, info.group); });
  }
  checked("fchmod", [&] { return fchmod(file.get(), info.mode); });
}

void copyBack(const Snapshot& snapshot, const Descriptor& data, const Descriptor& target) {
  const SnapshotInfo& info = snapshot.info;
  const bool verify = !info.digest.empty();
  const Copied copied = cloneOrCopy(data, target, CopyMode::kAuto, verify, [](off_t) {});
  if (!looksWhole(snapshot, data) || statusOf(target).st_size != info.size || !copied.isEqual ||
      copied.digest != info.digest) {
    throw damaged(snapshot);
  }
}

}  // namespace

std::optional<Snapshot> snapshotIn(const Folder& folder, const std::string& name) {
  Snapshot snapshot;
  snapshot.path = folder.path / name;
  snapshot.directory = openIn(folder.descriptor, name, O_RDONLY | O_DIRECTORY);
  if (!snapshot.directory && errno == ENOENT) return std::nullopt;
  if (!snapshot.directory && isOther(errno)) throw notOurs(snapshot);
  if (!snapshot.directory) raise("open");
  readInfo(snapshot, folder);
  return snapshot;
}

orca_pdk::EFiSnapshotStatus checkSnapshot(const fs::path& path, bool deep) {
  const auto snapshot = openSnapshot(path);
  if (!snapshot) return orca_pdk::FI_SNAPSHOT_ABSENT;
  return withMessage("FILESNAP_UNREADABLE", path, [&] {
    if (!isWhole(*snapshot, openData(*snapshot), deep)) throw damaged(*snapshot);
    return orca_pdk::FI_SNAPSHOT_READY;
  });
}

void restoreSnapshot(const fs::path& path, const fs::path& file) {
  const auto snapshot = openSnapshot(path);
  if (!snapshot) throw failure("FILESNAP_ABSENT", {path});
  const Descriptor data = openData(*snapshot);
  const Folder folder = withMessage("FILESNAP_RESTORE_FAILED", file, [&] {
    const fs::path place = placeOf(file);
    requireSource(*snapshot, place);
    requireClaim(*snapshot, data);
    Folder opened = openFolder(place.parent_path());
    requireFile(opened, place);
    Staging staging = Staging::file(opened.descriptor, kRestoring);
    copyBack(*snapshot, data, staging.descriptor());
    giveBackOwner(staging.descriptor(), snapshot->info);
    sync(staging.descriptor());
    staging.publish(place.filename());
    return opened;
  });
  withMessage("FILESNAP_RESTORE_UNSURE", file, [&] { sync(folder.descriptor); });
}

void removeSnapshot(const fs::path& path) {
  const bool isGone = withMessage("FILESNAP_DISPOSE_FAILED", path, [&] {
    const auto folder = findFolder(path.parent_path());
    if (!folder || !snapshotIn(*folder, path.filename())) return true;
    removeIn(*folder, path.filename());
    return false;
  });
  if (!isGone) removeEmptyFolder(path.parent_path());
}

void removeIn(const Folder& folder, const std::string& name) {
  // In a temporary folder it is gone at once. The end of the scope empties that, and the next sweep
  // what a kill left. That all this lasts is not waited for: a snapshot that a crash brings back
  // can be removed again.
  const Staging hidden = Staging::folder(folder.descriptor, kTemporary);
  const int moved = retried([&] {
    return renameat(folder.descriptor.get(), name.c_str(), hidden.descriptor().get(), name.c_str());
  });
  if (moved != 0 && errno != ENOENT) raise("rename");
}

DataMark markOf(const Descriptor& data) {
  const struct stat status = statusOf(data);
  return {nanoseconds(status.st_mtim), nanoseconds(status.st_ctim), status.st_ino};
}

}  // namespace filesnap
