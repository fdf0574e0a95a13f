#ifndef ORCA_SWEEP_SHARED_H
#define ORCA_SWEEP_SHARED_H

#include <sys/mman.h>

#include <new>
#include <stdexcept>

namespace orca_tests {

// A plain value that this process and its children see together.
template <typename Value>
class Shared {
 public:
  Shared() {
    void* const memory =
        mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("mmap failed");
    m_value = new (memory) Value();
  }
  ~Shared() { munmap(m_value, sizeof(Value)); }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  Value* operator->() const { return m_value; }
  Value& operator*() const { return *m_value; }

 private:
  Value* m_value;
};

}  // namespace orca_tests

#endif
