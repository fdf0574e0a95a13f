#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>

#include "fiutil.h"

namespace {

class File {
 public:
  // Not waiting for a FIFO, and not letting a terminal become the process's own.
  explicit File(const char* path) {
    do m_fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    while (m_fd < 0 && errno == EINTR);
  }
  ~File() {
    if (m_fd >= 0) close(m_fd);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool isOpen() const { return m_fd >= 0; }
  // A device or a FIFO need not end.
  bool isRegular() const {
    struct stat info;
    return fstat(m_fd, &info) == 0 && S_ISREG(info.st_mode);
  }
  // The result of read(2), also when signals come.
  ssize_t next(char* block, size_t size) const {
    ssize_t got = read(m_fd, block, size);
    while (got < 0 && errno == EINTR) got = read(m_fd, block, size);
    return got;
  }

 private:
  int m_fd = -1;
};

// The file's text up to its end or its first NUL. False, with errno, when it cannot be read.
bool readText(const char* path, std::string& text) {
  const File file(path);
  if (!file.isOpen()) return false;
  if (!file.isRegular()) {
    errno = EINVAL;
    return false;
  }
  char block[4096];
  ssize_t got = file.next(block, sizeof(block));
  for (; got > 0; got = file.next(block, sizeof(block))) {
    const size_t length = strnlen(block, static_cast<size_t>(got));
    text.append(block, length);
    if (length < static_cast<size_t>(got)) return true;
  }
  return got == 0;
}

// A text that stays valid for the rest of the process, the same one for the same content, so that a
// caller on another thread never loses the text it reads when the file changes.
char* keep(std::string text) {
  static std::mutex lock;
  static auto* const texts = new std::set<std::string>;
  const std::lock_guard<std::mutex> guard(lock);
  return const_cast<char*>(texts->insert(std::move(text)).first->c_str());
}

}  // namespace

int orca_get_credential_blob(char** text) {
  if (text == nullptr) return 0;
  *text = nullptr;
  const char* path = std::getenv("ORCA_CREDENTIALS");
  if (path == nullptr || *path == '\0') return 0;
  try {
    std::string content;
    if (!readText(path, content)) return errno == ENOENT ? 0 : -1;
    *text = keep(std::move(content));
    return 0;
  } catch (...) {
    return -1;  // short of memory
  }
}
