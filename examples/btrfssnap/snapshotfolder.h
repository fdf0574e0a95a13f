#ifndef BTRFSSNAP_SNAPSHOTFOLDER_H
#define BTRFSSNAP_SNAPSHOTFOLDER_H

#include <cfifilelock.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "common/failure.h"
#include "subvolume.h"

namespace btrfssnap {

// A folder of snapshots is changed by one process at a time, which holds its lock: what has a
// temporary name there, and is not the lock holder's, was left by a dead process.

// A trusted folder and its lock.
class LockedFolder {
 public:
  // Opens the folder that is there, or makes it, so that the owner's snapshots can lie in it.
  // Throws Failure, where another process does not let go of the lock or the folder is not trusted,
  // and std::system_error.
  static std::unique_ptr<LockedFolder> openOrMake(const std::filesystem::path& path, uid_t owner);
  // The same; nothing when there is none.
  static std::unique_ptr<LockedFolder> find(const std::filesystem::path& path, uid_t owner);
  // The same to remove snapshots, which makes room: where there is none for the lock's file, it
  // does without, and then nothing is swept.
  static std::unique_ptr<LockedFolder> findToRemove(const std::filesystem::path& path, uid_t owner);
  ~LockedFolder();
  LockedFolder(const LockedFolder&) = delete;
  LockedFolder& operator=(const LockedFolder&) = delete;

  const Folder& folder() const { return m_folder; }
  const Descriptor& descriptor() const { return m_folder.descriptor; }

  // At the end of the scope the folder itself goes, when it is empty.
  void removeWhenEmpty() { m_goes = true; }
  // Removes what dead processes left. Fails silently: it stays for another time.
  void sweep() const noexcept;
  // Removes what was kept when the snapshot of that UUID was restored. Throws Failure.
  void removeReplaced(const std::string& uuid) const;

 private:
  enum class Room { kNeeded, kMayLack };
  LockedFolder(Folder folder, Room room);
  void lock();
  static std::unique_ptr<LockedFolder> find(const std::filesystem::path& path, uid_t owner,
                                            Room room);

  Folder m_folder;
  std::optional<orca_pdk::CFiFileLock> m_lock;
  bool m_goes = false;
};

}  // namespace btrfssnap

#endif
