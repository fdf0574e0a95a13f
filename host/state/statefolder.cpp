#include "state/statefolder.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "files/trust.h"

namespace fihost {

namespace {

namespace fs = std::filesystem;

// Nothing that is made in its scope is open to others, and all of it to the caller.
class PrivateModes {
 public:
  PrivateModes() : m_old(umask(077)) {}
  ~PrivateModes() { umask(m_old); }
  PrivateModes(const PrivateModes&) = delete;
  PrivateModes& operator=(const PrivateModes&) = delete;

 private:
  mode_t m_old;
};

[[noreturn]] void fail(const std::string& what, const std::string& path,
                       const std::string& why = strerror(errno)) {
  throw Problem{kWrongUse, "state: cannot " + what + " " + path + ": " + why};
}

// The status of what is there; false when nothing is.
bool look(const std::string& path, struct stat& status) {
  if (lstat(path.c_str(), &status) == 0) return true;
  if (errno == ENOENT) return false;
  fail("look at", path);
}

void makeFolders(const fs::path& path) {
  struct stat status {};
  if (look(path, status)) return;
  makeFolders(path.parent_path());
  const PrivateModes modes;
  // Another host may be faster.
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) fail("make folder", path);
  syncFolder(path.parent_path());
}

}  // namespace

std::string findStateFolder(const std::string& path) {
  if (path.empty()) {
    throw Problem{
        kWrongUse,
        "state: no folder for it: --state, XDG_STATE_HOME and HOME give no absolute path"};
  }
  std::string place = trustedPlace(path, "state", kWrongUse);
  struct stat status {};
  if (place.empty() || !look(place, status)) return "";
  if (!S_ISDIR(status.st_mode)) fail("use", place, strerror(ENOTDIR));
  return place;
}

std::string makeStateFolder(const std::string& path) {
  std::string found = findStateFolder(path);
  if (!found.empty()) return found;
  makeFolders(fs::absolute(path));
  std::string made = findStateFolder(path);
  if (made.empty()) fail("make folder", path, strerror(ENOENT));
  return made;
}

bool isStateFile(const std::string& path) {
  struct stat status {};
  if (!look(path, status)) return false;
  trustedPlace(path, "state", kWrongUse);
  if (!S_ISREG(status.st_mode)) fail("use", path, "it is no regular file");
  return true;
}

Descriptor openStateFile(const std::string& path) {
  constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const bool isThere = isStateFile(path);
  const PrivateModes modes;
  Descriptor file(retried([&] { return open(path.c_str(), kFlags | O_CREAT, 0600); }));
  if (!file) fail(isThere ? "open" : "make", path);
  if (!isThere) syncFolder(fs::path(path).parent_path());
  return file;
}

void syncFolder(const std::string& folder) {
  const Descriptor file(
      retried([&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  // EINVAL: a file system that knows no syncing of folders.
  if (!file || (retried([&] { return fsync(file.get()); }) != 0 && errno != EINVAL)) {
    fail("sync", folder);
  }
}

}  // namespace fihost
