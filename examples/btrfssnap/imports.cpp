#include "imports.h"

#include <cficonfiguration.h>
#include <cfistringtool.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include "common/failure.h"
#include "snapshotfolder.h"
#include "snapshotstore.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;

fs::path importFolder() {
  orca_pdk::tstr cache;
  orca_pdk::CFiConfigurationPathTool::getCacheLocationInfo(cache);
  return fs::weakly_canonical(orca_pdk::CFiStringTool::tstr2str(cache)) / "btrfssnap";
}

bool isMountedIn(const Folder& folder, const std::string& uuid) {
  const auto mounted = subvolumeIn(folder.descriptor, uuid);
  return mounted && mounted->identity.uuid == uuid;
}

void setAttributes(const Descriptor& mount, bool isReadOnly) {
  mount_attr attributes = {};
  attributes.attr_set = MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV;
  (isReadOnly ? attributes.attr_set : attributes.attr_clr) |= MOUNT_ATTR_RDONLY;
  checked("mount_setattr", [&] {
    return mount_setattr(mount.get(), "", AT_EMPTY_PATH, &attributes, sizeof attributes);
  });
}

// Mounts what is open, whatever its names lead to by now.
void mountIn(const Folder& folder, const Subvolume& subvolume, bool isReadOnly) {
  const std::string& name = subvolume.identity.uuid;
  const Descriptor mount(checked("open_tree", [&] {
    return open_tree(subvolume.descriptor.get(), "",
                     AT_EMPTY_PATH | OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC);
  }));
  setAttributes(mount, isReadOnly);
  const int made = retried([&] { return mkdirat(folder.descriptor.get(), name.c_str(), 0700); });
  if (made != 0 && errno != EEXIST) raise("mkdir");
  const Descriptor place = openIn(folder.descriptor, name, O_PATH | O_DIRECTORY);
  constexpr unsigned kByDescriptors = MOVE_MOUNT_F_EMPTY_PATH | MOVE_MOUNT_T_EMPTY_PATH;
  if (place && move_mount(mount.get(), "", place.get(), "", kByDescriptors) == 0) return;
  const int error = errno;
  unlinkat(folder.descriptor.get(), name.c_str(), AT_REMOVEDIR);
  raise("move_mount", error);
}

// By which an import is known, also when the snapshot is gone.
std::string uuidOf(const fs::path& path) {
  const auto name = readName(path.filename());
  return name ? name->uuid : openSubvolume(placeOf(path)).identity.uuid;
}

Subvolume openResource(const fs::path& path) {
  if (!readName(path.filename())) return openSubvolume(placeOf(path));
  Found found = findSnapshot(path, {});
  if (found.status != orca_pdk::FI_SNAPSHOT_READY) throw *found.reason;
  return std::move(*found.snapshot);
}

}  // namespace

fs::path importSubvolume(const fs::path& path, bool isReadOnly) {
  const Subvolume subvolume = openResource(path);
  const std::string& name = subvolume.identity.uuid;
  return withMessage("BTRFSSNAP_IMPORT_FAILED", path, [&] {
    const auto locked = LockedFolder::openOrMake(importFolder(), rootUser());
    locked->removeWhenEmpty();
    const Folder& folder = locked->folder();
    if (isMountedIn(folder, name)) {
      setAttributes(openIn(folder.descriptor, name, O_PATH | O_DIRECTORY), isReadOnly);
    } else {
      mountIn(folder, subvolume, isReadOnly);
    }
    return folder.path / name;
  });
}

void deportSubvolume(const fs::path& path) {
  const std::string name = uuidOf(path);
  withMessage("BTRFSSNAP_DEPORT_FAILED", path, [&] {
    const auto locked = LockedFolder::find(importFolder(), rootUser());
    if (!locked) return;
    locked->removeWhenEmpty();
    const int folder = locked->descriptor().get();
    if (isMountedIn(locked->folder(), name)) {
      const fs::path place = fs::path("/proc/self/fd") / std::to_string(folder) / name;
      checked("umount", [&] { return umount2(place.c_str(), UMOUNT_NOFOLLOW); });
    }
    const int removed = retried([&] { return unlinkat(folder, name.c_str(), AT_REMOVEDIR); });
    if (removed != 0 && errno != ENOENT) raise("rmdir");
  });
}

bool isImported(const Identity& identity) {
  const auto folder = findFolder(importFolder());
  return folder && isMountedIn(*folder, identity.uuid);
}

void requireNotImported(const fs::path& path, const Identity& identity) {
  if (!isImported(identity)) return;
  throw failure("BTRFSSNAP_IMPORTED", {path, importFolder() / identity.uuid});
}

}  // namespace btrfssnap
