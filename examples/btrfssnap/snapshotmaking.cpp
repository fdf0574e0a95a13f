#include "snapshotmaking.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <ctime>
#include <map>

#include "snapshotstore.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;

// The folder in which snapshots of a subvolume are kept.
fs::path snapshotFolder(const Request& request) {
  const fs::path& directory = request.parameters.directory;
  return withMessage("BTRFSSNAP_DIR_FAILED", directory, [&] {
    const fs::path path = (placeOf(request.subvolume).parent_path() / directory).lexically_normal();
    return path.has_filename() ? path : path.parent_path();  // without a "/" at the end
  });
}

// The requests of each folder, by their numbers.
using Groups = std::map<fs::path, std::vector<std::size_t>>;

Groups byFolder(const std::vector<Request>& requests) {
  Groups groups;
  for (std::size_t i = 0; i < requests.size(); ++i) {
    groups[snapshotFolder(requests[i])].push_back(i);
  }
  return groups;
}

Subvolume openSource(const Request& request) { return openSubvolume(placeOf(request.subvolume)); }

uid_t ownerOf(const Subvolume& subvolume) { return statusOf(subvolume.descriptor).st_uid; }

void requireSameFileSystem(const Folder& folder, const Request& request, const Subvolume& source) {
  if (isSameFileSystem(source.descriptor, folder.descriptor)) return;
  throw failure("BTRFSSNAP_OTHER_FILE_SYSTEM", {folder.path, request.subvolume});
}

std::string finalName(const Request& request, const std::string& session, const Identity& made) {
  const fs::path place = placeOf(request.subvolume);
  const std::string name = place.has_filename() ? place.filename() : "root";
  const std::string text =
      fillPattern(request.parameters.pattern, name, session, made.made / 1000000000);
  return nameOf(text, {made.uuid, request.parameters.isWritable});
}

// The making of a session's snapshots.
class Making {
 public:
  Making(const std::vector<Request>& requests, const std::string& session)
      : m_requests(requests), m_session(session), m_made(requests.size()) {}

  // All snapshots of one folder.
  void makeIn(const fs::path& path, const std::vector<std::size_t>& members) {
    const auto folder =
        LockedFolder::openOrMake(path, ownerOf(openSource(m_requests[members.front()])));
    try {
      std::vector<Staged> staged;
      staged.reserve(members.size());
      for (const std::size_t i : members) staged.push_back(stage(*folder, i));
      for (const Staged& one : staged) publish(*folder, one);
    } catch (...) {
      folder->sweep();
      throw;
    }
  }

  // Those that may have their names; the others are empty.
  const std::vector<Made>& made() const { return m_made; }

 private:
  struct Staged {
    std::size_t request;
    std::string temporary;
    std::string name;
    Made made;
  };

  Staged stage(const LockedFolder& folder, std::size_t number) const {
    const Request& request = m_requests[number];
    const Subvolume source = openSource(request);
    requireTrusted(folder.folder(), ownerOf(source));
    return withMessage("BTRFSSNAP_MAKE_FAILED", request.subvolume, [&] {
      Staged staged{number, temporaryName(), "", {"", lineOf(source), ownerOf(source)}};
      takeSnapshot(source.descriptor, folder.descriptor(), staged.temporary,
                   request.parameters.isWritable);
      const auto made = subvolumeIn(folder.descriptor(), staged.temporary);
      if (!made) raise("open", ENOENT);
      staged.name = finalName(request, m_session, made->identity);
      return staged;
    });
  }

  void publish(const LockedFolder& folder, const Staged& staged) {
    Made& made = m_made[staged.request];
    made = staged.made;
    made.path = folder.folder().path / staged.name;
    const int descriptor = folder.descriptor().get();
    checked("rename", [&] {
      return renameat2(descriptor, staged.temporary.c_str(), descriptor, staged.name.c_str(),
                       RENAME_NOREPLACE);
    });
  }

  const std::vector<Request>& m_requests;
  const std::string& m_session;
  std::vector<Made> m_made;
};

void prepareFolder(const fs::path& path, const std::vector<std::size_t>& members,
                   const std::vector<Request>& requests) {
  const Subvolume first = openSource(requests[members.front()]);
  const auto folder = LockedFolder::openOrMake(path, ownerOf(first));
  folder->sweep();
  for (const std::size_t i : members) {
    const Subvolume source = openSource(requests[i]);
    requireTrusted(folder->folder(), ownerOf(source));
    requireSameFileSystem(folder->folder(), requests[i], source);
  }
}

}  // namespace

void checkSources(const std::vector<Request>& requests) {
  for (const Request& request : requests) openSource(request);
  for (const auto& [path, members] : byFolder(requests)) {
    withMessage("BTRFSSNAP_DIR_FAILED", path,
                [&, &path = path, &members = members] { prepareFolder(path, members, requests); });
  }
}

std::vector<Made> takeSnapshots(const std::vector<Request>& requests, const std::string& session) {
  Making making(requests, session);
  try {
    for (const auto& [path, members] : byFolder(requests)) {
      withMessage("BTRFSSNAP_DIR_FAILED", path,
                  [&, &path = path, &members = members] { making.makeIn(path, members); });
    }
    return making.made();
  } catch (...) {
    withdraw(making.made());
    throw;
  }
}

void waitForSnapshots(const fs::path& folder) {
  withMessage("BTRFSSNAP_MAKE_UNSURE", folder, [&] { commit(openFolder(folder).descriptor); });
}

void withdraw(const std::vector<Made>& made) {
  std::string left;
  for (const Made& one : made) {
    try {
      if (!one.path.empty()) removeSnapshot(one.path);
    } catch (const Failure&) {
      left += " " + one.path.string();
    }
  }
  if (!left.empty()) throw failure("BTRFSSNAP_LEFT", {left.substr(1)});
}

int64_t now() {
  timespec time = {};
  clock_gettime(CLOCK_REALTIME_COARSE, &time);
  return time.tv_sec * int64_t{1000000000} + time.tv_nsec;
}

}  // namespace btrfssnap
