#include "files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace samples {

namespace {

constexpr std::size_t kLongestText = std::size_t{1} << 20;

struct StreamCloser {
  void operator()(DIR* stream) const { closedir(stream); }
};

void removeFolder(const Descriptor& folder, const char* name, int levels) {
  const Descriptor inner = openIn(folder, name, O_RDONLY | O_DIRECTORY);
  if (!inner) return;
  for (const std::string& entry : namesIn(inner)) removeTree(inner, entry.c_str(), levels);
  retried([&] { return unlinkat(folder.get(), name, AT_REMOVEDIR); });
}

}  // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(m_fd, other.m_fd);
  return *this;
}

Descriptor::~Descriptor() {
  const int error = errno;  // of the failure that ends the scope
  if (m_fd >= 0) close(m_fd);
  errno = error;
}

void raise(const char* call, int error) {
  throw std::system_error(error, std::generic_category(), call);
}

bool isMissing(const std::system_error& error) {
  return error.code() == std::errc::no_such_file_or_directory;
}

Descriptor openIn(const Descriptor& folder, const std::string& name, int flags) {
  // O_NONBLOCK: a FIFO that comes into a file's place must not hold the provider up.
  const int all = flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  return Descriptor(retried([&] { return openat(folder.get(), name.c_str(), all); }));
}

Descriptor openRegular(const Descriptor& folder, const std::string& name) {
  struct stat status = {};
  // Looked at first, since opening a device may do something to it.
  const int looked =
      retried([&] { return fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW); });
  if (looked != 0 || !isRegular(status)) return Descriptor();
  Descriptor file = openIn(folder, name, O_RDONLY);
  if (file && !isRegular(statusOf(file))) return Descriptor();
  return file;
}

Descriptor createFile(const Descriptor& folder, const std::string& name) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return Descriptor(
      checked("open", [&] { return openat(folder.get(), name.c_str(), kFlags, 0600); }));
}

Descriptor createFolder(const Descriptor& folder, const std::string& name) {
  for (;;) {
    checked("mkdir", [&] { return mkdirat(folder.get(), name.c_str(), 0700); });
    Descriptor made = openIn(folder, name, O_RDONLY | O_DIRECTORY);
    if (made) return made;
    const int error = errno;
    unlinkat(folder.get(), name.c_str(), AT_REMOVEDIR);
    if (error != ENOENT) raise("open", error);  // else a sweep took it away
  }
}

bool isRegular(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return true;
  errno = S_ISDIR(status.st_mode) ? EISDIR : S_ISLNK(status.st_mode) ? ELOOP : EINVAL;
  return false;
}

struct stat statusOf(const Descriptor& file) {
  struct stat status = {};
  checked("fstat", [&] { return fstat(file.get(), &status); });
  return status;
}

std::vector<std::string> namesIn(const Descriptor& folder) {
  Descriptor own = openIn(folder, ".", O_RDONLY | O_DIRECTORY);
  if (!own) raise("open");
  const std::unique_ptr<DIR, StreamCloser> stream(fdopendir(own.get()));
  if (!stream) raise("opendir");
  own.release();  // the stream's now
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = readdir(stream.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
    errno = 0;
  }
  if (errno != 0) raise("readdir");
  return names;
}

void removeTree(const Descriptor& folder, const char* name, int levels) noexcept {
  if (retried([&] { return unlinkat(folder.get(), name, 0); }) == 0) return;
  if (errno != EISDIR || levels == 0) return;
  try {
    removeFolder(folder, name, levels - 1);
  } catch (...) {
    return;  // without memory or descriptors it stays for a sweep
  }
}

std::string readText(const Descriptor& file) {
  const auto length = static_cast<std::size_t>(statusOf(file).st_size);
  std::string text(std::min(length, kLongestText), '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    auto* const end = reinterpret_cast<unsigned char*>(text.data()) + size;
    const std::size_t got = readAt(file, end, text.size() - size, static_cast<off_t>(size));
    if (got == 0) break;
    size += got;
  }
  text.resize(size);
  return text;
}

void writeText(const Descriptor& file, const std::string& text) {
  writeAt(file, reinterpret_cast<const unsigned char*>(text.data()), text.size(), 0);
  sync(file);
}

void writeAt(const Descriptor& file, const unsigned char* data, std::size_t size, off_t at) {
  while (size > 0) {
    const ssize_t put = checked("write", [&] { return pwrite(file.get(), data, size, at); });
    if (put == 0) raise("write", EIO);
    data += put;
    at += put;
    size -= static_cast<std::size_t>(put);
  }
}

std::size_t readAt(const Descriptor& file, unsigned char* data, std::size_t size, off_t at) {
  return static_cast<std::size_t>(
      checked("read", [&] { return pread(file.get(), data, size, at); }));
}

void sync(const Descriptor& file) {
  // EINVAL: a folder on a file system that knows no syncing of folders.
  if (retried([&] { return fsync(file.get()); }) != 0 && errno != EINVAL) raise("fsync");
}

std::string randomText(std::size_t length) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text(length, '\0');
  const ssize_t got = checked("getrandom", [&] { return getrandom(text.data(), length, 0); });
  if (static_cast<std::size_t>(got) != length) raise("getrandom", EIO);
  for (char& c : text) c = kDigits[static_cast<unsigned char>(c) % 16];
  return text;
}

}  // namespace samples
