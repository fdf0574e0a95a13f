#include "accounting.h"

#include <algorithm>
#include <new>

namespace orca_fiutil {

Registry& Registry::instance() {
  // Never destroyed, and there without memory: the first buffer may be asked for when there is
  // none.
  alignas(Registry) static unsigned char s_place[sizeof(Registry)];
  static Registry* const s_registry = new (s_place) Registry;
  return *s_registry;
}

bool Registry::add(Items& items, const void* object, int leakKind, std::size_t size,
                   const char* name, std::uint64_t& out) noexcept {
  try {
    const std::lock_guard<std::mutex> guard(m_lock);
    items.insert_or_assign(object, Item{leakKind, size, m_nextSerial, name});
    ++m_nextSerial;
    m_totals.bytes_live += size;
    ++out;
    return true;
  } catch (...) {
    return false;
  }
}

bool Registry::addBuffer(const void* buffer, std::size_t size) noexcept {
  return add(m_buffers, buffer, ORCA_FINDING_BUFFER_LEAKED, size, "", m_totals.buffers_out);
}

bool Registry::addObjid(const orca_objid* id) noexcept {
  return add(m_objids, id, ORCA_FINDING_OBJID_LEAKED, 0, id->name, m_totals.objids_out);
}

void Registry::note(int kind, const void* object, std::size_t size, std::size_t given) noexcept {
  try {
    m_wrongFrees.push_back(orca_finding{kind, object, size, given, nullptr, m_totals.wrong_frees});
    ++m_totals.wrong_frees;
  } catch (...) {
    // Without memory the finding is lost; the free itself must go on.
  }
}

bool Registry::removeBuffer(const void* buffer, std::size_t size) noexcept {
  const std::lock_guard<std::mutex> guard(m_lock);
  const auto found = m_buffers.find(buffer);
  if (found == m_buffers.end()) {
    note(ORCA_FINDING_BUFFER_UNKNOWN, buffer, 0, size);
    return false;
  }
  if (found->second.size != size) {
    note(ORCA_FINDING_BUFFER_WRONG_SIZE, buffer, found->second.size, size);
  }
  m_totals.bytes_live -= found->second.size;
  m_buffers.erase(found);
  ++m_totals.buffers_back;
  return true;
}

bool Registry::removeObjid(const orca_objid* id) noexcept {
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_objids.erase(id) == 0) {
    note(ORCA_FINDING_OBJID_UNKNOWN, id, 0, 0);
    return false;
  }
  ++m_totals.objids_back;
  return true;
}

std::optional<std::size_t> Registry::sizeOf(const void* object) {
  const std::lock_guard<std::mutex> guard(m_lock);
  const auto buffer = m_buffers.find(object);
  if (buffer != m_buffers.end()) return buffer->second.size;
  const auto id = m_objids.find(object);
  if (id != m_objids.end()) return id->second.name.size() + 1;
  return std::nullopt;
}

orca_totals Registry::totals() {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_totals;
}

std::vector<Registry::Items::const_pointer> Registry::liveInOrder() const {
  std::vector<Items::const_pointer> live;
  for (const auto& entry : m_buffers) live.push_back(&entry);
  for (const auto& entry : m_objids) live.push_back(&entry);
  std::sort(live.begin(), live.end(),
            [](auto a, auto b) { return a->second.serial < b->second.serial; });
  return live;
}

std::size_t Registry::report(void (*visit)(const orca_finding*, void*), void* context) {
  const std::lock_guard<std::mutex> guard(m_lock);
  const auto live = liveInOrder();
  if (visit != nullptr) {
    for (const orca_finding& finding : m_wrongFrees) visit(&finding, context);
    for (const auto entry : live) {
      const auto& [object, item] = *entry;
      const bool isObjid = item.leakKind == ORCA_FINDING_OBJID_LEAKED;
      const orca_finding finding{item.leakKind,
                                 object,
                                 isObjid ? item.name.size() + 1 : item.size,
                                 0,
                                 isObjid ? item.name.c_str() : nullptr,
                                 item.serial};
      visit(&finding, context);
    }
  }
  return m_wrongFrees.size() + live.size();
}

void Registry::reset() {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_buffers.clear();
  m_objids.clear();
  m_wrongFrees.clear();
  m_totals = orca_totals{};
  m_nextSerial = 0;
}

}  // namespace orca_fiutil

using orca_fiutil::Registry;

void orca_accounting_totals(orca_totals* totals) {
  if (totals != nullptr) *totals = Registry::instance().totals();
}

size_t orca_accounting_report(void (*visit)(const orca_finding*, void*), void* context) {
  return Registry::instance().report(visit, context);
}

int orca_accounting_size(const void* object, size_t* size) {
  const auto known = Registry::instance().sizeOf(object);
  if (known && size != nullptr) *size = *known;
  return known ? 1 : 0;
}

void orca_accounting_reset(void) { Registry::instance().reset(); }
