#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "fiutil.h"

int orca_get_install_root(char** root) {
  if (root == nullptr) return 0;
  *root = nullptr;
  const char* setting = std::getenv("ORCA_INSTALL_ROOT");
  if (setting == nullptr || *setting == '\0') return 0;
  const size_t size = std::strlen(setting) + 1;
  *root = static_cast<char*>(orca_alloc_buf(size));
  if (*root == nullptr) {
    errno = ENOMEM;
    return -1;
  }
  std::memcpy(*root, setting, size);
  return 0;
}
