#include "subvolume.h"

#include <btrfsutil.h>
#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/statfs.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "common/failure.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;

constexpr ino_t kRootInode = 256;  // of every subvolume
constexpr char kLine[] = "trusted.btrfssnap";

// The library leaves the reason in errno.
void require(btrfs_util_error result, const char* call) {
  if (result != BTRFS_UTIL_OK) raise(call, errno != 0 ? errno : EIO);
}

std::string textOf(const uint8_t (&uuid)[16]) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : uuid) text += {kDigits[byte / 16], kDigits[byte % 16]};
  return text;
}

bool isSubvolume(const Descriptor& folder) {
  if (statusOf(folder).st_ino != kRootInode) return false;
  struct statfs status = {};
  checked("statfs", [&] { return fstatfs(folder.get(), &status); });
  return status.f_type == BTRFS_SUPER_MAGIC;
}

Identity identityOf(const Descriptor& folder) {
  struct btrfs_util_subvolume_info info = {};
  require(btrfs_util_subvolume_info_fd(folder.get(), 0, &info), "subvolume info");
  bool isReadOnly = false;
  require(btrfs_util_get_subvolume_read_only_fd(folder.get(), &isReadOnly), "subvolume flags");
  const int64_t made = info.otime.tv_sec * int64_t{1000000000} + info.otime.tv_nsec;
  return {info.id, textOf(info.uuid), textOf(info.parent_uuid), info.otransid, info.ctransid,
          made,    isReadOnly};
}

btrfs_ioctl_fs_info_args fileSystemOf(const Descriptor& folder) {
  btrfs_ioctl_fs_info_args info = {};
  checked("file system info", [&] { return ioctl(folder.get(), BTRFS_IOC_FS_INFO, &info); });
  return info;
}

// The line that was written for the subvolume with that UUID; without one it begins its own.
std::string lineFor(const Descriptor& folder, const std::string& uuid) {
  char text[2 * kUuidLength + 1];
  const ssize_t size = fgetxattr(folder.get(), kLine, text, sizeof text);
  if (size < 0 && errno != ENODATA && errno != ERANGE) raise("fgetxattr");
  const std::string value(text, size == sizeof text ? sizeof text : 0);
  return value.starts_with(uuid + " ") ? value.substr(kUuidLength + 1) : uuid;
}

struct IteratorCloser {
  void operator()(btrfs_util_subvolume_iterator* iterator) const {
    btrfs_util_destroy_subvolume_iterator(iterator);
  }
};

struct TextCloser {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

std::optional<Subvolume> subvolumeIn(const Descriptor& folder, const std::string& name) {
  Descriptor opened = openIn(folder, name, O_RDONLY | O_DIRECTORY);
  const bool isOther = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
  if (!opened && !isOther) raise("open");
  if (!opened || !isSubvolume(opened)) return std::nullopt;
  Identity identity = identityOf(opened);
  return Subvolume{std::move(opened), std::move(identity)};
}

Subvolume openSubvolume(const fs::path& place) {
  return withMessage("BTRFSSNAP_NOT_A_SUBVOLUME", place, [&] {
    const Folder folder = openFolder(place.parent_path());
    const std::string name = place.has_filename() ? place.filename() : ".";  // of the root folder
    auto subvolume = subvolumeIn(folder.descriptor, name);
    if (subvolume) return std::move(*subvolume);
    struct stat status = {};
    checked("stat", [&] {
      return fstatat(folder.descriptor.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    });
    raise("open", S_ISLNK(status.st_mode) ? ELOOP : S_ISDIR(status.st_mode) ? EINVAL : ENOTDIR);
  });
}

void takeSnapshot(const Descriptor& source, const Descriptor& folder, const std::string& name,
                  bool isWritable) {
  const int flags = isWritable ? 0 : BTRFS_UTIL_CREATE_SNAPSHOT_READ_ONLY;
  require(btrfs_util_create_snapshot_fd2(source.get(), folder.get(), name.c_str(), flags, nullptr,
                                         nullptr),
          "snapshot");
}

void removeSubvolume(const Descriptor& folder, const Identity& identity) {
  require(btrfs_util_delete_subvolume_by_id_fd(folder.get(), identity.id), "remove");
}

std::optional<std::string> nestedIn(const Subvolume& subvolume) {
  btrfs_util_subvolume_iterator* made = nullptr;
  require(btrfs_util_create_subvolume_iterator_fd(subvolume.descriptor.get(), 0, 0, &made),
          "subvolumes");
  const std::unique_ptr<btrfs_util_subvolume_iterator, IteratorCloser> iterator(made);
  char* text = nullptr;
  uint64_t id = 0;
  const btrfs_util_error found = btrfs_util_subvolume_iterator_next(made, &text, &id);
  if (found == BTRFS_UTIL_ERROR_STOP_ITERATION) return std::nullopt;
  require(found, "subvolumes");
  const std::unique_ptr<char, TextCloser> path(text);
  return path.get();
}

void commit(const Descriptor& folder) {
  // Names of subvolumes are in no log: this commits the transaction. BTRFS_IOC_START_SYNC would
  // too, but Linux 6.18 was seen to wait in it for ever.
  sync(folder);
}

bool isSameFileSystem(const Descriptor& a, const Descriptor& b) {
  struct statfs status = {};
  checked("statfs", [&] { return fstatfs(b.get(), &status); });
  if (status.f_type != BTRFS_SUPER_MAGIC) return false;
  const btrfs_ioctl_fs_info_args first = fileSystemOf(a);
  const btrfs_ioctl_fs_info_args second = fileSystemOf(b);
  return std::equal(std::begin(first.fsid), std::end(first.fsid), std::begin(second.fsid));
}

std::string lineOf(const Subvolume& subvolume) {
  return lineFor(subvolume.descriptor, subvolume.identity.uuid);
}

std::string lineOfSource(const Subvolume& snapshot) {
  return lineFor(snapshot.descriptor, snapshot.identity.parent);
}

void putInLine(const Subvolume& subvolume, const std::string& line) {
  const std::string value = subvolume.identity.uuid + " " + line;
  checked("fsetxattr", [&] {
    return fsetxattr(subvolume.descriptor.get(), kLine, value.data(), value.size(), 0);
  });
}

}  // namespace btrfssnap
