#ifndef ORCA_PDK_CFIFILELOCK_H
#define ORCA_PDK_CFIFILELOCK_H

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

class CFiDescriptor;

// Another process kept a lock for longer than was waited for.
class ORCA_PDK_API CFiLockHeld : public std::runtime_error {
 public:
  explicit CFiLockHeld(const std::string& process);
  ~CFiLockHeld() override;

  // The id of the process that holds the lock, as it wrote it; "?" where it has not done so.
  const char* process() const noexcept { return what(); }
};

// A lock between processes, held for the scope: a file that only its owner can open (mode 0600),
// so that no other user can hold it, and which is there no longer than the lock. It holds the
// process id of its holder.
//
// Threads: locks of one process keep each other out too.
class ORCA_PDK_API CFiFileLock {
 public:
  // Takes the lock `name` in an opened folder (or AT_FDCWD, and the name a path). The folder must
  // be one in which only trusted users can make files, and stay open as long as the lock. Throws
  // CFiLockHeld when another has it for longer than `longest`, and std::system_error, also for a
  // file there that is not regular or belongs to another user.
  CFiFileLock(int folder, std::string name,
              std::chrono::milliseconds longest = std::chrono::seconds(30));
  ~CFiFileLock();
  CFiFileLock(const CFiFileLock&) = delete;
  CFiFileLock& operator=(const CFiFileLock&) = delete;

 private:
  bool take();
  std::string holder() const;
  void tellHolder() const;

  int m_folder;
  std::string m_name;
  std::unique_ptr<CFiDescriptor> m_file;
};

}  // namespace orca_pdk_4_4

#endif
