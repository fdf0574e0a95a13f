#include "trust.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <system_error>

#include "failure.h"

namespace samples {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;  // the group's bit also bounds access lists

bool isClosed(const struct stat& status) {
  const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
  return isSticky || (status.st_mode & kOthersWrite) == 0;
}

std::string modeText(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
  return text;
}

// Opens the next folder on a way, for passing through only.
Descriptor next(const Descriptor& folder, const fs::path& name) {
  Descriptor opened = openIn(folder, name, O_PATH | O_DIRECTORY);
  if (opened) return opened;
  const int error = errno;
  struct stat status = {};
  const bool isLink = fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                      S_ISLNK(status.st_mode);
  raise("open", isLink ? ELOOP : error);
}

// A change of the device number is no sign of a mount: each subvolume of a file system may have its
// own. Where the kernel does not tell, the way is longer.
bool isMount(const Descriptor& folder) {
  struct statx status = {};
  checked("statx",
          [&] { return statx(folder.get(), "", AT_EMPTY_PATH | AT_NO_AUTOMOUNT, 0, &status); });
  return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

void pass(Folder& folder) {
  const struct stat status = statusOf(folder.descriptor);
  if (isMount(folder.descriptor)) folder.way.clear();
  folder.way.push_back({folder.path, status});
}

}  // namespace

Folder openFolder(const fs::path& path) {
  Folder folder{"/", openIn(Descriptor(), "/", O_PATH | O_DIRECTORY), {}};
  if (!folder.descriptor) raise("open");
  pass(folder);
  for (const fs::path& name : path.relative_path()) {
    if (name.empty()) continue;  // after a "/" at the end
    folder.descriptor = next(folder.descriptor, name);
    folder.path /= name;
    pass(folder);
  }
  folder.descriptor = openIn(folder.descriptor, ".", O_RDONLY | O_DIRECTORY);
  if (!folder.descriptor) raise("open");
  return folder;
}

std::optional<Folder> findFolder(const fs::path& path) {
  try {
    return openFolder(path);
  } catch (const std::system_error& error) {
    if (!isMissing(error)) throw;
    return std::nullopt;
  }
}

Folder openOrMakeFolder(const fs::path& path, uid_t owner) {
  if (auto folder = findFolder(path)) {
    requireTrusted(*folder, owner);
    return std::move(*folder);
  }
  const Folder parent = openOrMakeFolder(path.parent_path(), owner);
  const int made =
      retried([&] { return mkdirat(parent.descriptor.get(), path.filename().c_str(), 0700); });
  if (made != 0 && errno != EEXIST) raise("mkdir");
  sync(parent.descriptor);
  return openOrMakeFolder(path, owner);
}

void removeEmptyFolder(const fs::path& path) noexcept {
  try {
    const Folder above = openFolder(path.parent_path());
    unlinkat(above.descriptor.get(), path.filename().c_str(), AT_REMOVEDIR);
  } catch (...) {
    return;
  }
}

uid_t rootUser() {
  struct stat status = {};
  return stat("/", &status) == 0 ? status.st_uid : 0;
}

void requireTrusted(const fs::path& path, const struct stat& status, uid_t owner) {
  const uid_t user = status.st_uid;
  const bool isOwned = user == owner || user == geteuid() || user == rootUser();
  // A second name of a file may lie where others can reach it, and is no proof of who put it here.
  const bool isOnly = S_ISDIR(status.st_mode) || status.st_nlink == 1;
  if (isOwned && isOnly && isClosed(status)) return;
  throw failure(messageId("UNTRUSTED"), {path, user, modeText(status.st_mode), owner});
}

void requireTrusted(const Folder& folder, uid_t owner) {
  for (const Folder::Step& step : folder.way) requireTrusted(step.path, step.status, owner);
}

fs::path placeOf(const fs::path& file) {
  return fs::weakly_canonical(fs::absolute(file).parent_path()) / file.filename();
}

uid_t ownerOf(const fs::path& place) {
  const auto folder = findFolder(place.parent_path());
  if (!folder) return geteuid();
  struct stat status = {};
  const int looked = retried([&] {
    return fstatat(folder->descriptor.get(), place.filename().c_str(), &status,
                   AT_SYMLINK_NOFOLLOW);
  });
  if (looked != 0 && errno != ENOENT) raise("stat");
  return looked == 0 ? status.st_uid : folder->way.back().status.st_uid;
}

}  // namespace samples
