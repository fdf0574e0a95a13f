#include "cfinewfile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "cfideleters.h"
#include "cfiretry.h"

namespace orca_pdk_4_4 {

namespace {

constexpr mode_t kUsualMode = 0666;
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kModeBits = 07777;

std::string temporaryName(pid_t process, unsigned long number) {
  return ".new-" + std::to_string(process) + "-" + std::to_string(number);
}

std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

std::string temporaryPath(const std::string& path) {
  static std::atomic<unsigned int> s_count{0};
  return folderOf(path) + temporaryName(getpid(), s_count++);
}

// The process that writes a file of that name; 0 for any other name.
pid_t writerOf(const char* name) {
  pid_t process = 0;
  unsigned int number = 0;
  if (std::sscanf(name, ".new-%9d-%10u", &process, &number) != 2 || process <= 0) return 0;
  return temporaryName(process, number) == name ? process : 0;
}

}  // namespace

CFiNewFile::CFiNewFile(const std::string& path) : m_path(path), m_temporary(temporaryPath(path)) {}

CFiNewFile::~CFiNewFile() {
  const int cause = errno;
  if (m_isPending) unlink(m_temporary.c_str());
  m_file.close();
  errno = cause;
}

bool CFiNewFile::openLikeOld() {
  struct stat old;
  if (stat(m_path.c_str(), &old) != 0) return errno == ENOENT && open(kUsualMode);
  return open(kPrivateMode) && fchown(fd(), old.st_uid, old.st_gid) == 0 &&
         fchmod(fd(), old.st_mode & kModeBits) == 0;
}

bool CFiNewFile::openPrivate() { return open(kPrivateMode); }

bool CFiNewFile::open(mode_t mode) {
  const auto make = [&] {
    return ::open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  };
  int made = retryInterrupted(make);
  // Left behind by a process of the same number.
  if (made < 0 && errno == EEXIST && unlink(m_temporary.c_str()) == 0)
    made = retryInterrupted(make);
  m_file.reset(made);
  m_isPending = made >= 0;
  return m_isPending;
}

bool CFiNewFile::sync() {
  return retryInterrupted([&] { return fsync(fd()); }) == 0 && m_file.close() == 0;
}

bool CFiNewFile::putInPlace() {
  const auto rename = [&] { return std::rename(m_temporary.c_str(), m_path.c_str()); };
  if (retryInterrupted(rename) != 0) return false;
  m_isPending = false;
  return true;
}

void CFiNewFile::sweepFolder() const {
  const std::string folder = folderOf(m_path);
  const char* const opened = folder.empty() ? "." : folder.c_str();
  const std::unique_ptr<DIR, CFiCloseDirectory> directory(opendir(opened));
  if (directory == nullptr) return;
  while (const dirent* entry = readdir(directory.get())) sweep(folder, entry->d_name);
}

bool CFiNewFile::sweep(const std::string& folder, const char* name) {
  const pid_t writer = writerOf(name);
  if (writer != 0 && kill(writer, 0) != 0 && errno == ESRCH) unlink((folder + name).c_str());
  return writer != 0;
}

bool writeAll(int fd, const char* text, size_t size) {
  while (size > 0) {
    const ssize_t written = retryInterrupted([&] { return write(fd, text, size); });
    if (written <= 0) return false;
    text += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace orca_pdk_4_4
