#ifndef ORCA_PDK_CFIDESCRIPTOR_H
#define ORCA_PDK_CFIDESCRIPTOR_H

#include <unistd.h>

namespace orca_pdk_4_4 {

// Owns a file descriptor; a negative one is none.
class CFiDescriptor {
 public:
  explicit CFiDescriptor(int fd) : m_fd(fd) {}
  ~CFiDescriptor() { close(); }
  CFiDescriptor(const CFiDescriptor&) = delete;
  CFiDescriptor& operator=(const CFiDescriptor&) = delete;

  int get() const { return m_fd; }
  // The result of close(2), 0 when there was nothing to close.
  int close() {
    const int fd = m_fd;
    m_fd = -1;
    return fd < 0 ? 0 : ::close(fd);
  }

 private:
  int m_fd;
};

}  // namespace orca_pdk_4_4

#endif
