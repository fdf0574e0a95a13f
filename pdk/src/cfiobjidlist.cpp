#include "cfiobjidlist.h"

#include <algorithm>
#include <new>

#include "cfiobjid.h"

namespace orca_pdk_4_4 {

CFiObjidList::CFiObjidList() = default;

CFiObjidList::~CFiObjidList() {
  for (orca_objid* id : m_ids) releaseObjid(id);
}

void CFiObjidList::add(const std::string& name) {
  m_ids.push_back(nullptr);  // what follows needs no memory of the list's
  m_ids.back() = makeObjid(name);
  if (m_ids.back() != nullptr) return;
  m_ids.pop_back();
  throw std::bad_alloc();
}

void CFiObjidList::handOver(orca_objid**& ids, int& count) {
  orca_objid** array = nullptr;
  if (!m_ids.empty()) {
    array = static_cast<orca_objid**>(orca_alloc_buf(m_ids.size() * sizeof(orca_objid*)));
    if (array == nullptr) throw std::bad_alloc();
    std::copy(m_ids.begin(), m_ids.end(), array);
  }
  ids = array;
  count = static_cast<int>(m_ids.size());
  m_ids.clear();
}

}  // namespace orca_pdk_4_4
