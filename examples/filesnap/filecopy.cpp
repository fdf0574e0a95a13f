#include "filecopy.h"

#include <cfimsgdgst5.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace filesnap {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;

template <typename Call>
auto retried(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

[[noreturn]] void raise(const char* call) {
  throw std::system_error(errno, std::generic_category(), call);
}

// Reads up to a piece; 0 at the end of the file.
std::size_t readAt(const Descriptor& file, std::vector<unsigned char>& buffer, std::size_t wanted,
                   off_t at) {
  const ssize_t got =
      retried([&] { return pread(file.get(), buffer.data(), std::min(wanted, kPiece), at); });
  if (got < 0) raise("read");
  return static_cast<std::size_t>(got);
}

void writeAt(const Descriptor& file, const unsigned char* data, std::size_t size, off_t at) {
  while (size > 0) {
    const ssize_t put = retried([&] { return pwrite(file.get(), data, size, at); });
    if (put < 0) raise("write");
    data += put;
    at += put;
    size -= static_cast<std::size_t>(put);
  }
}

bool isRegular(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return true;
  errno = S_ISDIR(status.st_mode) ? EISDIR : S_ISLNK(status.st_mode) ? ELOOP : EINVAL;
  return false;
}

struct Extent {
  off_t begin;
  off_t end;
};

// The next stretch of data from a place on; begin is size when only a hole follows. Without support
// for holes everything is data.
Extent nextData(const Descriptor& file, off_t from, off_t size) {
  const off_t begin = lseek(file.get(), from, SEEK_DATA);
  if (begin < 0) return errno == ENXIO ? Extent{size, size} : Extent{from, size};
  const off_t end = lseek(file.get(), begin, SEEK_HOLE);
  return {begin, end < 0 ? size : std::min(end, size)};
}

void copyData(const Descriptor& source, const Descriptor& target, const Progress& progress) {
  const off_t size = statusOf(source).st_size;
  if (ftruncate(target.get(), size) != 0) raise("ftruncate");
  std::vector<unsigned char> buffer(kPiece);
  for (Extent data = nextData(source, 0, size); data.begin < size;
       data = nextData(source, data.end, size)) {
    for (off_t at = data.begin; at < data.end;) {
      const std::size_t got = readAt(source, buffer, static_cast<std::size_t>(data.end - at), at);
      // Cut off meanwhile: so is the copy, and whoever asked for it sees that.
      if (got == 0 && ftruncate(target.get(), at) != 0) raise("ftruncate");
      if (got == 0) return;
      writeAt(target, buffer.data(), got, at);
      at += static_cast<off_t>(got);
      progress(at);
    }
  }
}

}  // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(m_fd, other.m_fd);
  return *this;
}

Descriptor::~Descriptor() {
  if (m_fd >= 0) close(m_fd);
}

bool isRegular(const std::filesystem::path& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && isRegular(status);
}

Descriptor openRegular(const std::filesystem::path& path) {
  // Looked at first, since opening a device may do something to it. O_NONBLOCK: a FIFO that comes
  // into the file's place must not hold the provider up.
  if (!isRegular(path)) return Descriptor();
  Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat status = {};
  if (!file || fstat(file.get(), &status) != 0 || !isRegular(status)) return Descriptor();
  return file;
}

Descriptor openDirectory(const std::filesystem::path& path) {
  return Descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

struct stat statusOf(const Descriptor& file) {
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) raise("fstat");
  return status;
}

void cloneOrCopy(const Descriptor& source, const Descriptor& target, CopyMode mode,
                 const Progress& progress) {
  if (mode != CopyMode::kCopy) {
    if (retried([&] { return ioctl(target.get(), FICLONE, source.get()); }) == 0) return;
    if (mode == CopyMode::kReflink) raise("reflink");
  }
  copyData(source, target, progress);
}

std::string digestOf(const Descriptor& file) {
  orca_pdk::CFiMessageDigest5 digest;
  std::vector<unsigned char> buffer(kPiece);
  off_t at = 0;
  while (const std::size_t got = readAt(file, buffer, kPiece, at)) {
    digest.Update(buffer.data(), got);
    at += static_cast<off_t>(got);
  }
  digest.Finalize();
  return digest.GetAnsiMessageDigest();
}

std::string readText(const std::filesystem::path& path) {
  const Descriptor file = openRegular(path);
  std::vector<unsigned char> buffer(kPiece);
  const std::size_t got = file ? readAt(file, buffer, kPiece, 0) : 0;
  return std::string(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got));
}

void writeText(const Descriptor& file, const std::string& text) {
  writeAt(file, reinterpret_cast<const unsigned char*>(text.data()), text.size(), 0);
  sync(file);
}

void sync(const Descriptor& file) {
  // EINVAL: a folder on a file system that knows no syncing of folders.
  if (retried([&] { return fsync(file.get()); }) != 0 && errno != EINVAL) raise("fsync");
}

void syncFolder(const std::filesystem::path& folder) {
  const Descriptor directory = openDirectory(folder);
  if (!directory) raise("open");
  sync(directory);
}

}  // namespace filesnap
