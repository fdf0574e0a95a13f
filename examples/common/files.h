#ifndef SAMPLES_FILES_H
#define SAMPLES_FILES_H

#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace samples {

// Opened files and folders. Everything is reached by a name in an opened folder and no link is
// followed, so that nothing can be exchanged between a look and the use. What a signal interrupts
// is done again.

// An open descriptor, closed at the end of the scope.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : m_fd(fd) {}
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();

  int get() const { return m_fd; }
  // Gives it away: it is not closed.
  int release() noexcept { return std::exchange(m_fd, -1); }
  explicit operator bool() const { return m_fd >= 0; }

 private:
  int m_fd;
};

// Throws std::system_error with an error number, the current one by default.
[[noreturn]] void raise(const char* call, int error = errno);

// Whether the error says that there is no such thing.
bool isMissing(const std::system_error& error);

// The answer of a system call, made again as long as signals interrupt it.
template <typename Call>
auto retried(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// The same; throws std::system_error when the call fails.
template <typename Call>
auto checked(const char* name, Call call) {
  const auto result = retried(call);
  if (result < 0) raise(name);
  return result;
}

// Opens what has a name in a folder, without following a link. Empty, with errno set, on failure.
Descriptor openIn(const Descriptor& folder, const std::string& name, int flags);
// The same for a regular file, to be read; errno says what else it is.
Descriptor openRegular(const Descriptor& folder, const std::string& name);
// Makes a file with mode 0600, open for reading and writing. Throws std::system_error.
Descriptor createFile(const Descriptor& folder, const std::string& name);
// Makes a folder with mode 0700 and opens it. Throws std::system_error.
Descriptor createFolder(const Descriptor& folder, const std::string& name);

// Whether this is the state of a regular file. False sets errno to the reason.
bool isRegular(const struct stat& status);
// The state of an open file. Throws std::system_error.
struct stat statusOf(const Descriptor& file);

// The names in a folder, "." and ".." left out. Throws std::system_error.
std::vector<std::string> namesIn(const Descriptor& folder);
// Removes a file, or a folder down to so many levels of folders. Errors are ignored: what cannot be
// removed stays. Throws nothing.
void removeTree(const Descriptor& folder, const char* name, int levels) noexcept;

// The content of a small file, its first MiB at most. Throws std::system_error.
std::string readText(const Descriptor& file);
// Writes an empty file's content and makes it durable. Throws std::system_error.
void writeText(const Descriptor& file, const std::string& text);
// Writes all of the data at a place of a file. Throws std::system_error.
void writeAt(const Descriptor& file, const unsigned char* data, std::size_t size, off_t at);
// Reads at most size bytes; 0 at the end of the file. Throws std::system_error.
std::size_t readAt(const Descriptor& file, unsigned char* data, std::size_t size, off_t at);

// Makes a file or a folder durable. Throws std::system_error.
void sync(const Descriptor& file);

// So many random characters of [0-9a-f]. Throws std::system_error.
std::string randomText(std::size_t length);

}  // namespace samples

#endif
