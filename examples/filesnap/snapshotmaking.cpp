#include "snapshotmaking.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "common/failure.h"
#include "filecopy.h"
#include "staging.h"

namespace filesnap {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestBase = 200;  // of a snapshot's name, which may have 255 bytes
constexpr std::size_t kRandomPart = 16;    // makes sure that no name is ever used twice
constexpr off_t kBlock = 512;              // unit of st_blocks

// The folder in which snapshots of a file are kept.
fs::path snapshotFolder(const Request& request) {
  const fs::path& directory = request.parameters.directory;
  return withMessage("FILESNAP_DIR_FAILED", directory, [&] {
    const fs::path path = (placeOf(request.file).parent_path() / directory).lexically_normal();
    return path.has_filename() ? path : path.parent_path();  // without a "/" at the end
  });
}

// The requests of one snapshot folder, by their numbers.
struct Group {
  fs::path folder;
  std::vector<std::size_t> members;
};

std::vector<Group> byFolder(const std::vector<Request>& requests) {
  std::map<fs::path, std::vector<std::size_t>> folders;
  for (std::size_t i = 0; i < requests.size(); ++i) {
    folders[snapshotFolder(requests[i])].push_back(i);
  }
  std::vector<Group> groups;
  groups.reserve(folders.size());
  for (auto& [folder, members] : folders) groups.push_back({folder, std::move(members)});
  return groups;
}

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

std::string timeText(int64_t nanoseconds) {
  const std::time_t seconds = nanoseconds / 1000000000;
  std::tm parts = {};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
  return text;
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

void prepareFolder(const Group& group, const std::vector<Request>& requests) {
  const fs::path& first = requests[group.members.front()].file;
  const Folder folder = openOrMakeFolder(group.folder, statusOf(openExisting(first)).st_uid);
  checked("access",
          [&] { return faccessat(folder.descriptor.get(), ".", W_OK | X_OK, AT_EACCESS); });
  Staging::sweep(folder.descriptor, kTemporary);
  uintmax_t wanted = 0;
  for (const std::size_t i : group.members) {
    const struct stat status = statusOf(openExisting(requests[i].file));
    requireTrusted(folder, status.st_uid);
    wanted += roomFor(status, folder, requests[i].parameters.mode);
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
  info.name = baseOf(file) + "." + timeText(info.created) + "." + randomText(kRandomPart);
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
  Making(const std::vector<Request>& requests, const std::string& session, const Report& report)
      : m_requests(requests), m_session(session), m_report(report), m_made(requests.size()) {}

  // All snapshots of one folder.
  void makeIn(const Group& group) {
    const std::vector<std::size_t>& members = group.members;
    const uid_t owner = statusOf(openExisting(m_requests[members.front()].file)).st_uid;
    inFolder(group.folder, owner, [&](const Folder& folder, const Descriptor& staging) {
      std::vector<std::string> names;
      names.reserve(members.size());
      for (const std::size_t i : members) names.push_back(fill(m_requests[i], folder, staging));
      for (std::size_t i = 0; i < members.size(); ++i) {
        m_made[members[i]] = group.folder / names[i];
        checked("rename", [&] {
          return renameat(staging.get(), names[i].c_str(), folder.descriptor.get(),
                          names[i].c_str());
        });
      }
      sync(folder.descriptor);
    });
  }

  // The paths of those that may have been published; the others are empty.
  const std::vector<fs::path>& made() const { return m_made; }

 private:
  std::string fill(const Request& request, const Folder& folder, const Descriptor& staging) {
    const bool mustShare = request.parameters.mode == CopyMode::kReflink;
    return withMessage(mustShare ? "FILESNAP_REFLINK_FAILED" : "FILESNAP_COPY_FAILED", request.file,
                       [&] { return stage(request, folder, staging); });
  }

  // Makes a snapshot in the session's temporary folder, under its final name, which is returned.
  std::string stage(const Request& request, const Folder& folder, const Descriptor& staging) {
    const fs::path& file = request.file;
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
    return info.name;
  }

  const std::vector<Request>& m_requests;
  const std::string& m_session;
  const Report& m_report;
  std::vector<fs::path> m_made;
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

void prepareFiles(const std::vector<Request>& requests) {
  std::set<fs::path> places;
  for (const Group& group : byFolder(requests)) {
    withMessage("FILESNAP_DIR_FAILED", group.folder, [&] { prepareFolder(group, requests); });
    for (const std::size_t i : group.members)
      places.insert(placeOf(requests[i].file).parent_path());
  }
  for (const fs::path& place : places) {
    const auto folder = findFolder(place);
    if (folder) Staging::sweep(folder->descriptor, kRestoring);
  }
}

std::vector<fs::path> snapshotFiles(const std::vector<Request>& requests,
                                    const std::string& session, const Report& report) {
  Making making(requests, session, report);
  try {
    for (const Group& group : byFolder(requests)) {
      withMessage("FILESNAP_DIR_FAILED", group.folder, [&] { making.makeIn(group); });
    }
    return making.made();
  } catch (...) {
    withdraw(making.made());
    throw;
  }
}

void withdraw(const std::vector<fs::path>& made) {
  std::string left;
  for (const fs::path& path : made) {
    try {
      if (!path.empty()) removeSnapshot(path);
    } catch (const Failure&) {
      left += " " + path.string();
    }
  }
  if (!left.empty()) throw failure("FILESNAP_LEFT", {left.substr(1)});
}

int64_t now() {
  const auto time = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

std::string baseOf(const fs::path& file) {
  std::string base = file.filename().string();
  if (base.size() <= kLongestBase) return base;
  std::size_t end = kLongestBase;
  while (end > 0 && (base[end] & 0xC0) == 0x80) --end;  // cut between characters
  return base.substr(0, end);
}

}  // namespace filesnap
