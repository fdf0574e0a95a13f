#include "snapshotstore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <system_error>

#include "failure.h"

namespace filesnap {

namespace {

namespace fs = std::filesystem;

constexpr char kTemporary[] = ".filesnap-tmp.";
constexpr char kRestoring[] = ".filesnap-restore.";
constexpr int kNameTries = 1000;
constexpr std::size_t kLongestBase = 200;  // of a snapshot's name, which may have 255 bytes
constexpr off_t kBlock = 512;              // unit of st_blocks

// Runs a step and turns what the system says against it into a message.
template <typename Step>
auto withMessage(const char* messageId, const fs::path& object, Step step) {
  try {
    return step();
  } catch (const std::system_error& error) {
    throw failure(messageId, {object.string(), cause(error.code().value())});
  }
}

// The one path of a file, however it was named.
fs::path placeOf(const fs::path& file) {
  return fs::weakly_canonical(fs::absolute(file).parent_path()) / file.filename();
}

Descriptor openSource(const fs::path& file) {
  Descriptor source = openRegular(file);
  if (!source) throw failure("FILESNAP_NOT_A_FILE", {file.string(), cause()});
  return source;
}

bool isSameState(const struct stat& a, const struct stat& b) {
  return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec && a.st_ctim.tv_sec == b.st_ctim.tv_sec &&
         a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

int64_t now() {
  const auto time = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

// The start of a file's name, cut between characters where it is long.
std::string baseOf(const fs::path& file) {
  std::string base = file.filename().string();
  if (base.size() <= kLongestBase) return base;
  std::size_t end = kLongestBase;
  while (end > 0 && (base[end] & 0xC0) == 0x80) --end;
  return base.substr(0, end);
}

std::string timeText(int64_t nanoseconds) {
  const std::time_t seconds = nanoseconds / 1000000000;
  std::tm parts = {};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
  return text;
}

// Makes a file in the staged directory; nobody else may read it before it is published.
Descriptor createIn(const Staging& staging, const char* name) {
  const fs::path path = staging.path() / name;
  Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) throw std::system_error(errno, std::generic_category(), "open");
  return file;
}

void writeInfo(const Staging& staging, const SnapshotInfo& info) {
  fs::remove(staging.path() / "info");
  writeText(createIn(staging, "info"), toText(info));
  sync(staging.descriptor());
}

// What a snapshot says of itself; nothing when a directory is none of ours.
std::optional<SnapshotInfo> infoOf(const fs::path& snapshot) {
  if (!fs::is_directory(fs::symlink_status(snapshot))) return std::nullopt;
  auto info = fromText(readText(snapshot / "info"));
  return info && info->name == snapshot.filename() ? info : std::nullopt;
}

// Makes a folder and those above it, durably.
void makeFolder(const fs::path& folder) {
  if (fs::is_directory(folder)) return;
  const fs::path parent = folder.parent_path();
  makeFolder(parent);
  if (fs::create_directory(folder)) syncFolder(parent);
}

// Room for a full copy is wanted unless the blocks will, or may, be shared.
void checkRoom(const fs::path& folder, const struct stat& source, CopyMode mode) {
  struct stat target = {};
  struct statvfs room = {};
  if (stat(folder.c_str(), &target) != 0 || statvfs(folder.c_str(), &room) != 0) {
    throw failure("FILESNAP_DIR_FAILED", {folder.string(), cause()});
  }
  const bool mayShare = mode != CopyMode::kCopy && target.st_dev == source.st_dev;
  const auto wanted = static_cast<uintmax_t>(source.st_blocks * kBlock);
  const uintmax_t free = uintmax_t{room.f_bavail} * room.f_frsize;
  if (!mayShare && wanted > free) {
    throw failure("FILESNAP_NO_SPACE",
                  {folder.string(), std::to_string(wanted), std::to_string(free)});
  }
}

// Reports each full tenth once.
Progress tenths(off_t size, const std::function<void(int)>& report) {
  return [size, report, last = 0](off_t done) mutable {
    const int percent = size == 0 ? 100 : static_cast<int>(done * 100 / size);
    if (percent / 10 > last / 10) report(last = percent / 10 * 10);
  };
}

SnapshotInfo describe(const fs::path& file, const struct stat& status, const std::string& session) {
  SnapshotInfo info;
  info.source = placeOf(file).string();
  info.session = session;
  info.created = now();
  info.size = status.st_size;
  info.mode = status.st_mode & 07777;
  info.owner = status.st_uid;
  info.group = status.st_gid;
  return info;
}

struct Found {
  fs::path path;
  int64_t created;
};

// The snapshots of a file in a folder, newest first.
std::vector<Found> snapshotsOf(const fs::path& file, const fs::path& folder) {
  std::vector<Found> found;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const auto info = infoOf(entry.path());
    if (info && info->source == placeOf(file).string()) {
      found.push_back({entry.path(), info->created});
    }
  }
  std::sort(found.begin(), found.end(),
            [](const Found& a, const Found& b) { return a.created > b.created; });
  return found;
}

SnapshotInfo readExisting(const fs::path& snapshot) {
  const auto info = readSnapshot(snapshot);
  if (!info) throw failure("FILESNAP_ABSENT", {snapshot.string()});
  return *info;
}

Descriptor openData(const fs::path& snapshot) {
  Descriptor data = openRegular(snapshot / "data");
  if (!data && errno == ENOENT) throw failure("FILESNAP_DAMAGED", {snapshot.string()});
  if (!data) throw failure("FILESNAP_UNREADABLE", {snapshot.string(), cause()});
  return data;
}

void checkDigest(const Descriptor& data, const SnapshotInfo& info, const fs::path& snapshot) {
  const bool isWhole =
      statusOf(data).st_size == info.size && (info.digest.empty() || digestOf(data) == info.digest);
  if (!isWhole) throw failure("FILESNAP_DAMAGED", {snapshot.string()});
}

void giveBackOwner(const Descriptor& file, const SnapshotInfo& info) {
  const struct stat status = statusOf(file);
  const bool isOwned = status.st_uid == info.owner && status.st_gid == info.group;
  if ((!isOwned && fchown(file.get(), info.owner, info.group) != 0) ||
      fchmod(file.get(), info.mode) != 0) {
    throw std::system_error(errno, std::generic_category(), "fchown");
  }
}

}  // namespace

fs::path snapshotFolder(const fs::path& file, const Parameters& parameters) {
  return withMessage("FILESNAP_DIR_FAILED", parameters.directory, [&] {
    return fs::weakly_canonical(placeOf(file).parent_path() / parameters.directory);
  });
}

void prepareSnapshot(const fs::path& file, const Parameters& parameters) {
  const Descriptor source = openSource(file);
  const fs::path folder = snapshotFolder(file, parameters);
  withMessage("FILESNAP_DIR_FAILED", folder, [&] { makeFolder(folder); });
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    throw failure("FILESNAP_DIR_FAILED", {folder.string(), cause()});
  }
  Staging::sweep(folder, kTemporary);
  Staging::sweep(fs::absolute(file).parent_path(), kRestoring);
  checkRoom(folder, statusOf(source), parameters.mode);
}

StagedSnapshot stageSnapshot(const fs::path& file, const Parameters& parameters,
                             const std::string& session, const std::function<void(int)>& progress) {
  const Descriptor source = openSource(file);
  const struct stat before = statusOf(source);
  const char* const messageId =
      parameters.mode == CopyMode::kReflink ? "FILESNAP_REFLINK_FAILED" : "FILESNAP_COPY_FAILED";
  return withMessage(messageId, file, [&] {
    const fs::path folder = snapshotFolder(file, parameters);
    makeFolder(folder);  // the end of its last snapshot may have taken it away since prepare
    StagedSnapshot staged{file, describe(file, before, session),
                          Staging::directory(folder, kTemporary)};
    const Descriptor data = createIn(staged.staging, "data");
    cloneOrCopy(source, data, parameters.mode, tenths(before.st_size, progress));
    sync(data);
    if (parameters.verify) staged.info.digest = digestOf(data);
    const bool isEqual = !parameters.verify || digestOf(source) == staged.info.digest;
    if (!isSameState(before, statusOf(source))) {
      throw failure("FILESNAP_SOURCE_CHANGED", {file.string()});
    }
    if (!isEqual) throw failure("FILESNAP_VERIFY_FAILED", {file.string()});
    return staged;
  });
}

fs::path publishSnapshot(StagedSnapshot& staged) {
  const fs::path folder = staged.staging.path().parent_path();
  const std::string base = baseOf(staged.file) + "." + timeText(staged.info.created) + ".";
  return withMessage("FILESNAP_COPY_FAILED", staged.file, [&] {
    for (int number = 1; number <= kNameTries; ++number) {
      staged.info.name = base + std::to_string(number);
      if (fs::exists(fs::symlink_status(folder / staged.info.name))) continue;
      writeInfo(staged.staging, staged.info);
      if (staged.staging.publish(folder / staged.info.name)) {
        syncFolder(folder);
        return folder / staged.info.name;
      }
    }
    throw std::system_error(EEXIST, std::generic_category(), "rename");
  });
}

std::vector<fs::path> removeOldest(const fs::path& file, const Parameters& parameters,
                                   const std::vector<fs::path>& fresh) {
  const fs::path folder = snapshotFolder(file, parameters);
  std::vector<Found> found =
      withMessage("FILESNAP_DISPOSE_FAILED", folder, [&] { return snapshotsOf(file, folder); });
  // The clock may have been set back: what was just made goes to the front, whatever its time.
  std::stable_partition(found.begin(), found.end(), [&](const Found& one) {
    return std::count(fresh.begin(), fresh.end(), one.path) != 0;
  });
  std::vector<fs::path> removed;
  for (std::size_t i = static_cast<std::size_t>(parameters.keep); i < found.size(); ++i) {
    if (std::count(fresh.begin(), fresh.end(), found[i].path) != 0) continue;
    removeSnapshot(found[i].path);
    removed.push_back(found[i].path);
  }
  return removed;
}

std::optional<SnapshotInfo> readSnapshot(const fs::path& snapshot) {
  return withMessage("FILESNAP_UNREADABLE", snapshot, [&]() -> std::optional<SnapshotInfo> {
    if (!fs::exists(fs::symlink_status(snapshot))) return std::nullopt;
    auto info = infoOf(snapshot);
    if (!info) throw failure("FILESNAP_NOT_OURS", {snapshot.string()});
    return info;
  });
}

SnapshotState checkSnapshot(const fs::path& snapshot) {
  const auto info = readSnapshot(snapshot);
  if (!info) return SnapshotState::kAbsent;
  return withMessage("FILESNAP_UNREADABLE", snapshot, [&] {
    checkDigest(openData(snapshot), *info, snapshot);
    return SnapshotState::kReady;
  });
}

void restoreSnapshot(const fs::path& snapshot, const fs::path& file) {
  const SnapshotInfo info = readExisting(snapshot);
  const Descriptor data = openData(snapshot);
  if (!isRegular(file) && errno != ENOENT) {
    throw failure("FILESNAP_NOT_A_FILE", {file.string(), cause()});
  }
  const fs::path folder = withMessage("FILESNAP_RESTORE_FAILED", file, [&] {
    const fs::path place = placeOf(file);
    Staging::sweep(place.parent_path(), kRestoring);
    Staging staging = Staging::file(place.parent_path(), kRestoring);
    cloneOrCopy(data, staging.descriptor(), CopyMode::kAuto, [](off_t) {});
    checkDigest(staging.descriptor(), info, snapshot);
    giveBackOwner(staging.descriptor(), info);
    sync(staging.descriptor());
    staging.publish(place);
    staging.keep();
    return place.parent_path();
  });
  withMessage("FILESNAP_RESTORE_UNSURE", file, [&] { syncFolder(folder); });
}

void removeSnapshot(const fs::path& snapshot) {
  if (!readSnapshot(snapshot)) return;
  const fs::path folder = fs::absolute(snapshot).parent_path();
  withMessage("FILESNAP_DISPOSE_FAILED", snapshot, [&] {
    // Under a temporary name it is gone at once. The end of the scope empties that, and the next
    // sweep what a kill left.
    const Staging hidden = Staging::directory(folder, kTemporary);
    std::error_code error;
    fs::rename(snapshot, hidden.path(), error);
    if (error && error != std::errc::no_such_file_or_directory) throw std::system_error(error);
  });
  // Only an empty folder goes. That all this lasts is not waited for: a snapshot that a crash
  // brings back can be removed again.
  rmdir(folder.c_str());
}

}  // namespace filesnap
