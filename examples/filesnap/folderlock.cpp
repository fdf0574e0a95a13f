#include "folderlock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "failure.h"

namespace filesnap {

namespace {

// Under the prefix of temporaries, with as many characters: what a kill leaves is swept like them.
constexpr char kName[] = ".filesnap-tmp.locked";
constexpr std::chrono::milliseconds kPause(50);
constexpr int kTries = 600;  // with the pause, 30 seconds

}  // namespace

FolderLock::FolderLock(const Folder& folder) : m_folder(folder) {
  for (int tries = 0; !take(); ++tries) {
    if (tries == kTries) {
      throw failure("FILESNAP_LOCKED", {(folder.path / kName).string(), readText(m_file)});
    }
    std::this_thread::sleep_for(kPause);
  }
  tellHolder();
}

FolderLock::~FolderLock() {
  // Removed while it is locked: whoever has it open then sees that it is no longer the lock.
  unlinkat(m_folder.descriptor.get(), kName, 0);
}

// For others that wait. The lock holds without it, and must: keeping to the limit makes room.
void FolderLock::tellHolder() const {
  const std::string pid = std::to_string(getpid());
  if (ftruncate(m_file.get(), 0) != 0) return;
  if (pwrite(m_file.get(), pid.data(), pid.size(), 0) < 0) return;
}

// False when another process has it.
bool FolderLock::take() {
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  for (;;) {
    m_file = Descriptor(
        checked("open", [&] { return openat(m_folder.descriptor.get(), kName, kFlags, 0600); }));
    if (retried([&] { return flock(m_file.get(), LOCK_EX | LOCK_NB); }) != 0) {
      if (errno == EWOULDBLOCK) return false;
      raise("flock");
    }
    if (statusOf(m_file).st_nlink > 0) return true;
  }
}

}  // namespace filesnap
