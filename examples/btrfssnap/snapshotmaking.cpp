#include "snapshotmaking.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include "snapshotstore.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;

using Members = std::vector<Request*>;

Subvolume openSource(const Request& request) { return openSubvolume(placeOf(request.source)); }

uid_t userOf(const Subvolume& subvolume) { return statusOf(subvolume.descriptor).st_uid; }

void requireSameFileSystem(const Folder& folder, const Request& request, const Subvolume& source) {
  if (isSameFileSystem(source.descriptor, folder.descriptor)) return;
  throw failure("BTRFSSNAP_OTHER_FILE_SYSTEM", {folder.path, request.source});
}

std::string finalName(const Request& request, const std::string& session, const Identity& made) {
  const fs::path place = placeOf(request.source);
  const std::string name = place.has_filename() ? place.filename() : "root";
  const std::string text =
      fillPattern(request.parameters.pattern, name, session, made.made / 1000000000);
  return nameOf(text, {made.uuid, request.parameters.isWritable});
}

// The making of a session's snapshots.
class Making {
 public:
  explicit Making(const std::string& session) : m_session(session) {}

  // All snapshots of one folder.
  void makeIn(const fs::path& path, const Members& members) const {
    const auto folder = LockedFolder::openOrMake(path, userOf(openSource(*members.front())));
    try {
      std::vector<Staged> staged;
      staged.reserve(members.size());
      for (Request* request : members) staged.push_back(stage(*folder, *request));
      for (const Staged& one : staged) publish(*folder, one);
    } catch (...) {
      folder->sweep();
      throw;
    }
  }

 private:
  struct Staged {
    Request* request;
    std::string temporary;
    Made made;
  };

  Staged stage(const LockedFolder& folder, Request& request) const {
    const Subvolume source = openSource(request);
    requireTrusted(folder.folder(), userOf(source));
    return withMessage("BTRFSSNAP_MAKE_FAILED", request.source, [&] {
      Staged staged{&request, temporaryName(), {"", lineOf(source), userOf(source)}};
      takeSnapshot(source.descriptor, folder.descriptor(), staged.temporary,
                   request.parameters.isWritable);
      const auto made = subvolumeIn(folder.descriptor(), staged.temporary);
      if (!made) raise("open", ENOENT);
      staged.made.path = folder.folder().path / finalName(request, m_session, made->identity);
      return staged;
    });
  }

  static void publish(const LockedFolder& folder, const Staged& staged) {
    staged.request->made = staged.made;
    const int descriptor = folder.descriptor().get();
    checked("rename", [&] {
      return renameat2(descriptor, staged.temporary.c_str(), descriptor,
                       staged.made.path.filename().c_str(), RENAME_NOREPLACE);
    });
  }

  const std::string& m_session;
};

void prepareFolder(const fs::path& path, const Members& members) {
  const auto folder = LockedFolder::openOrMake(path, userOf(openSource(*members.front())));
  folder->sweep();
  for (const Request* request : members) {
    const Subvolume source = openSource(*request);
    requireTrusted(folder->folder(), userOf(source));
    requireSameFileSystem(folder->folder(), *request, source);
  }
}

}  // namespace

void checkSources(Requests& requests) {
  for (const Request& request : requests) openSource(request);
  inEachFolder(requests, prepareFolder);
}

void takeSnapshots(Requests& requests, const std::string& session) {
  const Making making(session);
  inEachFolder(requests, [&](const fs::path& folder, const Members& members) {
    making.makeIn(folder, members);
  });
}

void waitForSnapshots(const fs::path& folder) {
  withMessage("BTRFSSNAP_MAKE_UNSURE", folder, [&] { commit(openFolder(folder).descriptor); });
}

int64_t now() {
  timespec time = {};
  clock_gettime(CLOCK_REALTIME_COARSE, &time);
  return time.tv_sec * int64_t{1000000000} + time.tv_nsec;
}

}  // namespace btrfssnap
