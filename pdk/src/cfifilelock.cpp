#include "cfifilelock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <thread>
#include <utility>

#include "cfidescriptor.h"
#include "cfiretry.h"

namespace orca_pdk_4_4 {

namespace {

constexpr std::chrono::milliseconds kPause(50);

[[noreturn]] void raise(const std::string& what, int error = errno) {
  throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

CFiLockHeld::CFiLockHeld(const std::string& process) : std::runtime_error(process) {}

CFiLockHeld::~CFiLockHeld() = default;

CFiFileLock::CFiFileLock(int folder, std::string name, std::chrono::milliseconds longest)
    : m_folder(folder), m_name(std::move(name)) {
  for (auto waited = std::chrono::milliseconds(0); !take(); waited += kPause) {
    if (waited >= longest) throw CFiLockHeld(holder());
    std::this_thread::sleep_for(kPause);
  }
  tellHolder();
}

CFiFileLock::~CFiFileLock() {
  // Removed while it is locked: whoever has it open then sees that it is no longer the lock.
  unlinkat(m_folder, m_name.c_str(), 0);
}

// False when another process has it.
bool CFiFileLock::take() {
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  for (;;) {
    m_file = std::make_unique<CFiDescriptor>(
        retryInterrupted([this] { return openat(m_folder, m_name.c_str(), kFlags, 0600); }));
    if (m_file->get() < 0) raise(m_name);
    struct stat status = {};
    if (fstat(m_file->get(), &status) != 0) raise(m_name);
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) raise(m_name, EPERM);
    if (retryInterrupted([this] { return flock(m_file->get(), LOCK_EX | LOCK_NB); }) != 0) {
      if (errno == EWOULDBLOCK) return false;
      raise(m_name);
    }
    if (fstat(m_file->get(), &status) != 0) raise(m_name);
    if (status.st_nlink > 0) return true;
  }
}

std::string CFiFileLock::holder() const {
  char text[32];
  const ssize_t got = retryInterrupted([&] { return pread(m_file->get(), text, sizeof(text), 0); });
  return got > 0 ? std::string(text, static_cast<std::size_t>(got)) : "?";
}

// For others that wait. The lock holds without it, and must: what it guards may make room.
void CFiFileLock::tellHolder() const {
  const std::string pid = std::to_string(getpid());
  if (ftruncate(m_file->get(), 0) != 0) return;
  if (pwrite(m_file->get(), pid.data(), pid.size(), 0) < 0) return;
}

}  // namespace orca_pdk_4_4
