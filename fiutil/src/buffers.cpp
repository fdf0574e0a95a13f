#include <cstdlib>

#include "accounting.h"
#include "faults.h"

namespace orca_fiutil {

void* adoptBuffer(void* block, std::size_t size) noexcept {
  const bool isKept =
      block != nullptr && !fails(ORCA_FAULT_BUFFER) && Registry::instance().addBuffer(block, size);
  if (isKept) return block;
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
