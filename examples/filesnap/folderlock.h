#ifndef FILESNAP_FOLDERLOCK_H
#define FILESNAP_FOLDERLOCK_H

#include "trust.h"

namespace filesnap {

// The lock of a folder of snapshots, held for the scope: a file in it, which only its owner can
// open (mode 0600) and which is there no longer than the lock. It holds the holder's process id.
class FolderLock {
 public:
  // Waits for at most 30 seconds. Throws Failure, with the file and the process that holds it, and
  // std::system_error. The folder must stay open as long as the lock.
  explicit FolderLock(const Folder& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  bool take();
  void tellHolder() const;

  const Folder& m_folder;
  Descriptor m_file;
};

}  // namespace filesnap

#endif
