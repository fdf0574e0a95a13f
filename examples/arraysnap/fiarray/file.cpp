#include "file.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "fault.h"

namespace fiarray {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

template <typename Call>
auto retried(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

std::size_t readAt(const File& file, std::vector<char>& buffer, uint64_t wanted, uint64_t at) {
  const std::size_t size = std::min<uint64_t>(wanted, buffer.size());
  const ssize_t got =
      retried([&] { return pread(file.fd(), buffer.data(), size, static_cast<off_t>(at)); });
  if (got < 0) throw ioFault("read");
  if (got == 0) throw Fault{kIoError, "read: the image is shorter than its device"};
  return static_cast<std::size_t>(got);
}

void writeAt(const File& file, const char* data, std::size_t size, uint64_t at) {
  while (size > 0) {
    const ssize_t put =
        retried([&] { return pwrite(file.fd(), data, size, static_cast<off_t>(at)); });
    if (put < 0) throw ioFault("write");
    data += put;
    at += static_cast<uint64_t>(put);
    size -= static_cast<std::size_t>(put);
  }
}

// The place where data begins (SEEK_DATA) or ends (SEEK_HOLE), from a place on; size when there is
// no more of it, otherwise when the file system does not tell.
uint64_t seek(const File& file, uint64_t from, int whence, uint64_t size, uint64_t otherwise) {
  const off_t found = lseek(file.fd(), static_cast<off_t>(from), whence);
  if (found >= 0) return std::min(static_cast<uint64_t>(found), size);
  return errno == ENXIO ? size : otherwise;
}

}  // namespace

File::File(const fs::path& path, int flags)
    : m_path(path), m_fd(retried([&] { return open(path.c_str(), flags | O_CLOEXEC, 0600); })) {
  if (m_fd < 0) throw ioFault("open " + path.string());
}

File::~File() { close(m_fd); }

void File::resize(uint64_t size) const {
  if (retried([&] { return ftruncate(m_fd, static_cast<off_t>(size)); }) != 0) {
    throw ioFault("resize " + m_path.string());
  }
}

void File::sync() const {
  if (retried([this] { return fsync(m_fd); }) != 0) throw ioFault("fsync " + m_path.string());
}

int64_t File::writeTime() const {
  struct stat status = {};
  if (fstat(m_fd, &status) != 0) throw ioFault("stat " + m_path.string());
  return int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec;
}

std::string readText(const fs::path& path) {
  const File file(path, O_RDONLY);
  std::string text;
  char block[4096];
  ssize_t got;
  while ((got = retried([&] { return read(file.fd(), block, sizeof block); })) > 0) {
    text.append(block, static_cast<std::size_t>(got));
  }
  if (got < 0) throw ioFault("read " + path.string());
  return text;
}

void writeTemporary(const fs::path& path, const std::string& text) {
  const File file(path, O_WRONLY | O_CREAT | O_TRUNC);
  writeAt(file, text.data(), text.size(), 0);
  file.sync();
}

void renameDurably(const fs::path& from, const fs::path& to) {
  if (retried([&] { return rename(from.c_str(), to.c_str()); }) != 0) {
    throw ioFault("rename " + from.string());
  }
  try {
    File(to.parent_path(), O_RDONLY | O_DIRECTORY).sync();
  } catch (const Fault& fault) {
    throw Fault{kNotCertain, "done, but a crash may undo it: " + fault.text};
  }
}

bool share(const File& source, const File& target) {
  return retried([&] { return ioctl(target.fd(), FICLONE, source.fd()); }) == 0;
}

uint64_t copyPiece(const File& source, const File& target, uint64_t from, uint64_t size,
                   uint64_t most) {
  std::vector<char> buffer(kBlock);
  uint64_t copied = 0;
  while (from < size && copied < most) {
    from = seek(source, from, SEEK_DATA, size, from);
    const uint64_t end = from < size ? seek(source, from, SEEK_HOLE, size, size) : size;
    while (from < end && copied < most) {
      const std::size_t got = readAt(source, buffer, std::min(end - from, most - copied), from);
      writeAt(target, buffer.data(), got, from);
      from += got;
      copied += got;
    }
  }
  return from;
}

}  // namespace fiarray
