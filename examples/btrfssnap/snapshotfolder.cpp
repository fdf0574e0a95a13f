#include "snapshotfolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "snapshotname.h"

namespace btrfssnap {

namespace fs = std::filesystem;

LockedFolder::LockedFolder(Folder folder, Room room) : m_folder(std::move(folder)) {
  try {
    lock();
  } catch (const std::system_error& error) {
    const int number = error.code().value();
    if (room == Room::kNeeded || (number != ENOSPC && number != EDQUOT)) throw;
  }
}

void LockedFolder::lock() {
  try {
    m_lock.emplace(m_folder.descriptor.get(), kLock);
  } catch (const orca_pdk::CFiLockHeld& held) {
    throw failure("BTRFSSNAP_LOCKED", {m_folder.path / kLock, held.process()});
  }
}

std::unique_ptr<LockedFolder> LockedFolder::openOrMake(const fs::path& path, uid_t owner) {
  for (;;) {
    try {
      return std::unique_ptr<LockedFolder>(
          new LockedFolder(openOrMakeFolder(path, owner), Room::kNeeded));
    } catch (const std::system_error& error) {
      if (!isMissing(error)) throw;  // else it went with its last snapshot, before it was locked
    }
  }
}

std::unique_ptr<LockedFolder> LockedFolder::find(const fs::path& path, uid_t owner) {
  return find(path, owner, Room::kNeeded);
}

std::unique_ptr<LockedFolder> LockedFolder::findToRemove(const fs::path& path, uid_t owner) {
  return find(path, owner, Room::kMayLack);
}

std::unique_ptr<LockedFolder> LockedFolder::find(const fs::path& path, uid_t owner, Room room) {
  try {
    auto folder = findFolder(path);
    if (!folder) return nullptr;
    requireTrusted(*folder, owner);
    return std::unique_ptr<LockedFolder>(new LockedFolder(std::move(*folder), room));
  } catch (const std::system_error& error) {
    if (!isMissing(error)) throw;
    return nullptr;
  }
}

LockedFolder::~LockedFolder() {
  m_lock.reset();
  if (m_goes) removeEmptyFolder(m_folder.path);
}

void LockedFolder::sweep() const noexcept {
  if (!m_lock) return;
  try {
    for (const std::string& name : namesIn(descriptor())) {
      if (!isTemporaryName(name)) continue;
      const auto left = subvolumeIn(descriptor(), name);
      if (left) removeSubvolume(descriptor(), left->identity);
    }
  } catch (...) {
    return;
  }
}

void LockedFolder::removeReplaced(const std::string& uuid) const {
  for (const std::string& name : namesIn(descriptor())) {
    if (!isReplacedName(name, uuid)) continue;
    withMessage("BTRFSSNAP_REPLACED_LEFT", m_folder.path / name, [&] {
      const auto replaced = subvolumeIn(descriptor(), name);
      if (replaced) removeSubvolume(descriptor(), replaced->identity);
    });
  }
}

}  // namespace btrfssnap
