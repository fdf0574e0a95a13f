#include "framework/handedids.h"

namespace fihost {

HandedIds::~HandedIds() {
  for (std::size_t i = 0; i < size(); ++i) orca_free_objid(m_ids[i]);
  orca_free_buf(m_ids, size() * sizeof(orca_objid*));
}

std::vector<std::string> HandedIds::names() const {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < size(); ++i) {
    const orca_objid* id = m_ids[i];
    names.emplace_back(id == nullptr || id->name == nullptr ? "" : id->name);
  }
  return names;
}

std::size_t HandedIds::size() const {
  return m_ids == nullptr || m_count < 0 ? 0 : static_cast<std::size_t>(m_count);
}

}  // namespace fihost
