#ifndef ORCA_PDK_CFIDESCRIPTOR_H
#define ORCA_PDK_CFIDESCRIPTOR_H

#include <unistd.h>

#include <cerrno>

namespace orca_pdk_4_4 {

// Owns a file descriptor; a negative one is none.
class CFiDescriptor {
 public:
  explicit CFiDescriptor(int fd) : m_fd(fd) {}
  ~CFiDescriptor() { close(); }
  CFiDescriptor(const CFiDescriptor&) = delete;
  CFiDescriptor& operator=(const CFiDescriptor&) = delete;

  int get() const { return m_fd; }
  // Owns another one from now on.
  void reset(int fd) {
    close();
    m_fd = fd;
  }
  // The result of close(2), 0 when there was nothing to close. An interrupted close has closed.
  int close() {
    const int fd = m_fd;
    m_fd = -1;
    return fd < 0 || ::close(fd) == 0 || errno == EINTR ? 0 : -1;
  }

 private:
  int m_fd;
};

}  // namespace orca_pdk_4_4

#endif
