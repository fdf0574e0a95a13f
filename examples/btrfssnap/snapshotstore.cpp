#include "snapshotstore.h"

#include <fcntl.h>
#include <stdio.h>

#include <algorithm>
#include <utility>

#include "imports.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;
using namespace orca_pdk;

Found absent(Failure reason) { return {FI_SNAPSHOT_ABSENT, std::nullopt, std::move(reason)}; }

bool isThere(const Folder& folder, const std::string& name) {
  struct stat status = {};
  const int looked = retried(
      [&] { return fstatat(folder.descriptor.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW); });
  if (looked != 0 && errno != ENOENT) raise("stat");
  return looked == 0;
}

bool isSnapshot(const Identity& identity) {
  return identity.parent.find_first_not_of('0') != std::string::npos;
}

// What was made read-only and was written to since then is no snapshot of that moment any more,
// even when it is read-only again.
bool isTouched(const Identity& identity, const SnapshotName& name) {
  return !name.isWritable && (!identity.isReadOnly || identity.changed > identity.created);
}

// The line of a source; nothing when there is no such subvolume any more.
std::optional<std::string> lineAt(const fs::path& source) {
  const auto folder = findFolder(source.parent_path());
  if (!folder) return std::nullopt;
  const auto subvolume = subvolumeIn(folder->descriptor, source.filename());
  return subvolume ? std::optional(lineOf(*subvolume)) : std::nullopt;
}

// A subvolume under a temporary name, which is removed unless it was published.
class Fresh {
 public:
  Fresh(const LockedFolder& folder, const Subvolume& snapshot, std::string name)
      : m_folder(folder), m_name(std::move(name)) {
    takeSnapshot(snapshot.descriptor, folder.descriptor(), m_name, true);
    m_subvolume = subvolumeIn(folder.descriptor(), m_name);
    if (!m_subvolume) raise("open", ENOENT);
  }
  ~Fresh() {
    try {
      if (m_subvolume) removeSubvolume(m_folder.descriptor(), m_subvolume->identity);
    } catch (...) {
      return;  // it stays for a sweep
    }
  }
  Fresh(const Fresh&) = delete;
  Fresh& operator=(const Fresh&) = delete;

  const Subvolume& subvolume() const { return *m_subvolume; }

  // Takes a free name.
  void publish(const Folder& parent, const std::string& name) {
    rename(parent, name, RENAME_NOREPLACE);
    m_subvolume.reset();
  }

  // Takes the name of a subvolume, which gets the temporary one. Whatever else may have come to
  // that name meanwhile gets it back.
  void exchange(const Folder& parent, const std::string& name, const Identity& replaced) {
    rename(parent, name, RENAME_EXCHANGE);
    auto published = std::exchange(m_subvolume, std::nullopt);
    try {
      const auto found = subvolumeIn(m_folder.descriptor(), m_name);
      if (!found || found->identity.uuid != replaced.uuid) raise("rename", EBUSY);
    } catch (...) {
      withMessage("BTRFSSNAP_RESTORE_UNSURE", parent.path / name,
                  [&] { rename(parent, name, RENAME_EXCHANGE); });
      m_subvolume = std::move(published);
      throw;
    }
  }

 private:
  void rename(const Folder& parent, const std::string& name, unsigned how) const {
    checked("rename", [&] {
      return renameat2(m_folder.descriptor().get(), m_name.c_str(), parent.descriptor.get(),
                       name.c_str(), how);
    });
  }

  const LockedFolder& m_folder;
  std::string m_name;
  std::optional<Subvolume> m_subvolume;
};

// Other subvolumes within the one that is to be replaced would go with it.
void requireNoneNested(const Subvolume& target, const fs::path& place) {
  const auto nested = nestedIn(target);
  if (nested) throw failure("BTRFSSNAP_NESTED", {place, fs::path(*nested)});
}

void requireReady(const Found& found) {
  if (found.status != FI_SNAPSHOT_READY) throw *found.reason;
}

// What a restore replaced and is to be removed.
struct Replaced {
  fs::path path;
  Identity identity;
};

// Puts a copy of the snapshot in the place of the source.
std::optional<Replaced> replace(const LockedFolder& folder, const Subvolume& snapshot,
                                const fs::path& place, bool keepReplaced) {
  const Folder parent = openFolder(place.parent_path());
  const std::string name = place.filename();
  const auto target = subvolumeIn(parent.descriptor, name);
  if (!target && isThere(parent, name)) raise("open", EEXIST);
  if (target && !keepReplaced) requireNoneNested(*target, place);
  const std::string temporary =
      keepReplaced ? replacedName(snapshot.identity.uuid) : temporaryName();
  Fresh fresh(folder, snapshot, temporary);
  putInLine(fresh.subvolume(), lineOfSource(snapshot));
  if (!target) {
    fresh.publish(parent, name);
    return std::nullopt;
  }
  fresh.exchange(parent, name, target->identity);
  if (keepReplaced) return std::nullopt;
  return Replaced{folder.folder().path / temporary, target->identity};
}

}  // namespace

Found findIn(const Folder& folder, const std::string& name, const fs::path& source) {
  const fs::path path = folder.path / name;
  const auto parsed = readName(name);
  if (!parsed && isThere(folder, name)) throw failure("BTRFSSNAP_NOT_OURS", {path});
  auto subvolume = subvolumeIn(folder.descriptor, name);
  if (!subvolume && !isThere(folder, name)) return absent(failure("BTRFSSNAP_ABSENT", {path}));
  if (!subvolume || subvolume->identity.uuid != parsed->uuid || !isSnapshot(subvolume->identity)) {
    return absent(failure("BTRFSSNAP_OTHER", {path}));
  }
  requireTrusted(folder, statusOf(subvolume->descriptor).st_uid);
  const auto line = source.empty() ? std::nullopt : lineAt(placeOf(source));
  if (line && *line != lineOfSource(*subvolume)) {
    return absent(failure("BTRFSSNAP_OTHER_SOURCE", {path, source}));
  }
  if (isTouched(subvolume->identity, *parsed)) {
    return {FI_SNAPSHOT_DAMAGED, std::move(subvolume), failure("BTRFSSNAP_DAMAGED", {path})};
  }
  return {FI_SNAPSHOT_READY, std::move(subvolume), std::nullopt};
}

Found findSnapshot(const fs::path& path, const fs::path& source) {
  return withMessage("BTRFSSNAP_UNREADABLE", path, [&] {
    const auto folder = findFolder(path.parent_path());
    if (!folder) return absent(failure("BTRFSSNAP_ABSENT", {path}));
    return findIn(*folder, path.filename(), source);
  });
}

std::optional<Failure> restoreSnapshot(const fs::path& path, const fs::path& source,
                                       bool keepReplaced) {
  const fs::path place =
      withMessage("BTRFSSNAP_RESTORE_FAILED", source, [&] { return placeOf(source); });
  requireReady(findSnapshot(path, place));
  return withMessage("BTRFSSNAP_RESTORE_FAILED", place, [&]() -> std::optional<Failure> {
    const auto folder = LockedFolder::find(path.parent_path(), ownerOf(path));
    if (!folder) throw failure("BTRFSSNAP_ABSENT", {path});
    folder->sweep();
    const Found found = findIn(folder->folder(), path.filename(), place);
    requireReady(found);
    const auto replaced = replace(*folder, *found.snapshot, place, keepReplaced);
    withMessage("BTRFSSNAP_RESTORE_UNSURE", place, [&] { commit(folder->descriptor()); });
    try {
      if (replaced) removeSubvolume(folder->descriptor(), replaced->identity);
      return std::nullopt;
    } catch (const std::system_error& error) {
      return failure("BTRFSSNAP_REPLACED_LEFT", {replaced->path, cause(error.code().value())});
    }
  });
}

void removeSnapshot(const fs::path& path) {
  // Looked at before the lock is taken: only a folder of snapshots gets one.
  if (!findSnapshot(path, {}).snapshot) return;
  withMessage("BTRFSSNAP_DISPOSE_FAILED", path, [&] {
    const auto folder = LockedFolder::findToRemove(path.parent_path(), ownerOf(path));
    if (!folder) return;
    folder->removeWhenEmpty();
    folder->sweep();
    const Found found = findIn(folder->folder(), path.filename(), {});
    if (!found.snapshot) return;
    requireNotImported(path, found.snapshot->identity);
    removeIn(*folder, found.snapshot->identity);
    withMessage("BTRFSSNAP_DISPOSE_UNSURE", path, [&] { commit(folder->descriptor()); });
  });
}

void removeIn(const LockedFolder& folder, const Identity& snapshot) {
  folder.removeReplaced(snapshot.uuid);  // first: without the snapshot nobody would look for it
  removeSubvolume(folder.descriptor(), snapshot);
}

}  // namespace btrfssnap
