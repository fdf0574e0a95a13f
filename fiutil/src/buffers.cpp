#include <cstdlib>

#include "accounting.h"

namespace orca_fiutil {

void* adoptBuffer(void* block, std::size_t size) noexcept {
  if (block == nullptr || Registry::instance().addBuffer(block, size)) return block;
  std::free(block);
  return nullptr;
}

}  // namespace orca_fiutil

void* orca_alloc_buf(size_t size) {
  return orca_fiutil::adoptBuffer(std::calloc(1, size == 0 ? 1 : size), size);
}

void orca_free_buf(void* buffer, size_t size) {
  if (buffer == nullptr) return;
  if (orca_fiutil::Registry::instance().removeBuffer(buffer, size)) std::free(buffer);
}
