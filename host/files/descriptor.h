#ifndef FIHOST_FILES_DESCRIPTOR_H
#define FIHOST_FILES_DESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace fihost {

// The answer of a system call, made again as long as signals interrupt it.
template <typename Call>
auto retried(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// An open descriptor, closed at the end of its scope; false where there is none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : m_fd(fd) {}
  Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
  }
  ~Descriptor() {
    if (m_fd >= 0) close(m_fd);
  }

  int get() const { return m_fd; }
  // Gives it away: it is not closed.
  int release() noexcept { return std::exchange(m_fd, -1); }
  explicit operator bool() const { return m_fd >= 0; }

 private:
  int m_fd;
};

}  // namespace fihost

#endif
