#ifndef FILESNAP_FILECOPY_H
#define FILESNAP_FILECOPY_H

#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>

#include "parameters.h"

namespace filesnap {

// An open descriptor, closed at the end of the scope.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : m_fd(fd) {}
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();

  int get() const { return m_fd; }
  explicit operator bool() const { return m_fd >= 0; }

 private:
  int m_fd;
};

// Whether a path is a regular file itself, no link to one. False sets errno to the reason.
bool isRegular(const std::filesystem::path& path);
// Opens a regular file for reading, links not followed. Empty, with errno set, when it is none.
Descriptor openRegular(const std::filesystem::path& path);
// Opens a directory. Empty, with errno set, when it is none.
Descriptor openDirectory(const std::filesystem::path& path);

// The state of an open file. Throws std::system_error.
struct stat statusOf(const Descriptor& file);

// Called with the number of bytes done.
using Progress = std::function<void(off_t done)>;

// Gives target, an empty file, the content of source: shares its blocks where mode wants it and the
// file system can, else copies the data and leaves the holes. Throws std::system_error.
void cloneOrCopy(const Descriptor& source, const Descriptor& target, CopyMode mode,
                 const Progress& progress);

// The MD5 digest of a whole file as 32 hexadecimal digits. Throws std::system_error.
std::string digestOf(const Descriptor& file);

// The content of a small file, its first MiB at most; empty when it is no regular file or cannot be
// opened. Throws std::system_error.
std::string readText(const std::filesystem::path& path);
// Writes an empty file's content and makes it durable. Throws std::system_error.
void writeText(const Descriptor& file, const std::string& text);

// Makes a file or a directory durable. Throws std::system_error.
void sync(const Descriptor& file);
void syncFolder(const std::filesystem::path& folder);

}  // namespace filesnap

#endif
