#ifndef ORCA_FIUTIL_SRC_ACCOUNTING_H
#define ORCA_FIUTIL_SRC_ACCOUNTING_H

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "fiutil_accounting.h"

namespace orca_fiutil {

// What the library handed out and what is wrong with what came back. Every function takes the lock.
class Registry {
 public:
  // The process's one registry. It is never destroyed, so that it can be used while statics of
  // other modules go away; what it holds stays reachable for leak checkers.
  static Registry& instance();

  // Notes a buffer or an object id as handed out. False when memory is short.
  bool addBuffer(const void* buffer, std::size_t size) noexcept;
  bool addObjid(const orca_objid* id) noexcept;

  // Notes it as given back; a finding is recorded where something is wrong with that. True when the
  // memory is this library's and the caller must release it.
  bool removeBuffer(const void* buffer, std::size_t size) noexcept;
  bool removeObjid(const orca_objid* id) noexcept;

  // The size of what is handed out there now; none for anything else.
  std::optional<std::size_t> sizeOf(const void* object);
  orca_totals totals();
  std::size_t report(void (*visit)(const orca_finding*, void*), void* context);
  void reset();

 private:
  struct Item {
    int leakKind;
    std::size_t size;
    std::uint64_t serial;  // order of handing out
    std::string name;      // a copy: a provider may have spoilt the id's own
  };
  using Items = std::unordered_map<const void*, Item>;

  bool add(Items& items, const void* object, int leakKind, std::size_t size, const char* name,
           std::uint64_t& out) noexcept;
  void note(int kind, const void* object, std::size_t size, std::size_t given) noexcept;
  std::vector<Items::const_pointer> liveInOrder() const;

  std::mutex m_lock;
  Items m_buffers;
  Items m_objids;
  std::vector<orca_finding> m_wrongFrees;
  orca_totals m_totals{};
  std::uint64_t m_nextSerial = 0;
};

// Makes a malloc'ed block a buffer as if orca_alloc_buf had handed it out. Null, and the block
// released, when memory is short.
void* adoptBuffer(void* block, std::size_t size) noexcept;

}  // namespace orca_fiutil

#endif
