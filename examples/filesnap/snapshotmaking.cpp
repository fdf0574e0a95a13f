#include "snapshotmaking.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <chrono>

#include "common/names.h"
#include "filecopy.h"
#include "snapshotstore.h"
#include "staging.h"

namespace filesnap {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRandomPart = 16;  // makes sure that no name is ever used twice
constexpr off_t kBlock = 512;            // unit of st_blocks

using Members = std::vector<Request*>;

Descriptor openExisting(const fs::path& file) {
  Descriptor source = openSource(file);
  if (!source) throw failure("FILESNAP_NOT_A_FILE", {file, cause()});
  return source;
}

bool isSameState(const struct stat& a, const struct stat& b) {
  return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec && a.st_ctim.tv_sec == b.st_ctim.tv_sec &&
         a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

// The bytes that a full copy takes, 0 where the blocks will, or may, be shared.
uintmax_t roomFor(const struct stat& source, const Folder& folder, CopyMode mode) {
  const bool mayShare =
      mode != CopyMode::kCopy && statusOf(folder.descriptor).st_dev == source.st_dev;
  return mayShare ? 0 : static_cast<uintmax_t>(source.st_blocks * kBlock);
}

void requireRoom(const Folder& folder, uintmax_t wanted) {
  struct statvfs room = {};
  checked("statvfs", [&] { return fstatvfs(folder.descriptor.get(), &room); });
  const uintmax_t free = uintmax_t{room.f_bavail} * room.f_frsize;
  if (wanted <= free) return;
  throw failure("FILESNAP_NO_SPACE", {folder.path, wanted, free});
}

void prepareFolder(const fs::path& path, const Members& members) {
  const fs::path& first = members.front()->source;
  const Folder folder = openOrMakeFolder(path, statusOf(openExisting(first)).st_uid);
  checked("access",
          [&] { return faccessat(folder.descriptor.get(), ".", W_OK | X_OK, AT_EACCESS); });
  Staging::sweep(folder.descriptor, kTemporary);
  uintmax_t wanted = 0;
  for (const auto* request : members) {
    const struct stat status = statusOf(openExisting(request->source));
    requireTrusted(folder, status.st_uid);
    wanted += roomFor(status, folder, request->parameters.mode);
  }
  requireRoom(folder, wanted);
}

// Reports each full tenth once.
Progress tenths(const fs::path& file, off_t size, const Report& report) {
  return [&file, &report, size, last = 0](off_t done) mutable {
    const int percent = size == 0 ? 100 : static_cast<int>(done * 100 / size);
    if (percent / 10 > last / 10) report(file, last = percent / 10 * 10);
  };
}

SnapshotInfo describe(const fs::path& file, const struct stat& status, const std::string& session) {
  SnapshotInfo info;
  info.created = now();
  info.name =
      baseOf(file) + "." + timeText(info.created / 1000000000) + "." + randomText(kRandomPart);
  info.source = placeOf(file).string();
  info.session = session;
  info.process = getpid();
  info.size = status.st_size;
  info.mode = status.st_mode & 07777;
  info.owner = status.st_uid;
  info.group = status.st_gid;
  return info;
}

// Opens a folder of snapshots and a temporary folder in it for a session, and runs a step with
// both.
template <typename Step>
void inFolder(const fs::path& path, uid_t owner, Step step) {
  for (;;) {
    const Folder folder = openOrMakeFolder(path, owner);
    std::optional<Staging> staging;
    try {
      staging.emplace(Staging::folder(folder.descriptor, kTemporary));
    } catch (const std::system_error& error) {
      if (!isMissing(error)) throw;
      continue;  // the end of its last snapshot took the folder away
    }
    return step(folder, staging->descriptor());
  }
}

// The making of a session's snapshots.
class Making {
 public:
  Making(const std::string& session, const Report& report) : m_session(session), m_report(report) {}

  // All snapshots of one folder.
  void makeIn(const fs::path& path, const Members& members) const {
    const uid_t owner = statusOf(openExisting(members.front()->source)).st_uid;
    inFolder(path, owner, [&](const Folder& folder, const Descriptor& staging) {
      std::vector<SnapshotInfo> infos;
      infos.reserve(members.size());
      for (const auto* request : members) infos.push_back(fill(*request, folder, staging));
      for (std::size_t i = 0; i < infos.size(); ++i) {
        const std::string& name = infos[i].name;
        members[i]->made = {path / name, infos[i].source, owner};
        checked("rename", [&] {
          return renameat(staging.get(), name.c_str(), folder.descriptor.get(), name.c_str());
        });
      }
      sync(folder.descriptor);
    });
  }

 private:
  SnapshotInfo fill(const Request& request, const Folder& folder, const Descriptor& staging) const {
    const bool mustShare = request.parameters.mode == CopyMode::kReflink;
    return withMessage(mustShare ? "FILESNAP_REFLINK_FAILED" : "FILESNAP_COPY_FAILED",
                       request.source, [&] { return stage(request, folder, staging); });
  }

  // Makes a snapshot in the session's temporary folder, under its final name.
  SnapshotInfo stage(const Request& request, const Folder& folder,
                     const Descriptor& staging) const {
    const fs::path& file = request.source;
    const Descriptor source = openExisting(file);
    const struct stat before = statusOf(source);
    requireTrusted(folder, before.st_uid);
    SnapshotInfo info = describe(file, before, m_session);
    const Descriptor snapshot = createFolder(staging, info.name);
    const Descriptor data = createFile(snapshot, "data");
    const Copied copied =
        cloneOrCopy(source, data, request.parameters.mode, request.parameters.verify,
                    tenths(file, before.st_size, m_report));
    sync(data);
    if (!isSameState(before, statusOf(source))) {
      throw failure("FILESNAP_SOURCE_CHANGED", {file});
    }
    if (!copied.isEqual) throw failure("FILESNAP_VERIFY_FAILED", {file});
    info.digest = copied.digest;
    info.mark = markOf(data);
    writeText(createFile(snapshot, "info"), toText(info));
    sync(snapshot);
    return info;
  }

  const std::string& m_session;
  const Report& m_report;
};

}  // namespace

Descriptor openSource(const fs::path& file) {
  try {
    const fs::path place = placeOf(file);
    return openRegular(openFolder(place.parent_path()).descriptor, place.filename());
  } catch (const std::system_error& error) {
    errno = error.code().value();
    return Descriptor();
  }
}

void prepareFiles(Requests& requests) {
  inEachFolder(requests, prepareFolder);
  std::set<fs::path> places;
  for (const auto& request : requests) places.insert(placeOf(request.source).parent_path());
  for (const fs::path& place : places) {
    const auto folder = findFolder(place);
    if (folder) Staging::sweep(folder->descriptor, kRestoring);
  }
}

void snapshotFiles(Requests& requests, const std::string& session, const Report& report) {
  const Making making(session, report);
  inEachFolder(requests, [&](const fs::path& folder, const Members& members) {
    making.makeIn(folder, members);
  });
}

int64_t now() {
  const auto time = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

std::string baseOf(const fs::path& file) { return shortened(file.filename()); }

}  // namespace filesnap
