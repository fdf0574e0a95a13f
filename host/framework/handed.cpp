#include "framework/handed.h"

#include <algorithm>
#include <cstdlib>

namespace fihost {

std::vector<std::string> idNames(orca_objid* const* ids, long count) {
  std::vector<std::string> names;
  for (long i = 0; ids != nullptr && i < count; ++i) {
    names.emplace_back(ids[i] == nullptr || ids[i]->name == nullptr ? "" : ids[i]->name);
  }
  return names;
}

HandedIds::~HandedIds() {
  for (std::size_t i = 0; i < size(); ++i) orca_free_objid(m_ids[i]);
  orca_free_buf(m_ids, size() * sizeof(orca_objid*));
}

std::vector<std::string> HandedIds::names() const {
  return idNames(m_ids, static_cast<long>(size()));
}

std::size_t HandedIds::size() const {
  return m_ids == nullptr ? 0 : static_cast<std::size_t>(std::clamp(m_count, 0, m_most));
}

HandedTexts::~HandedTexts() {
  for (std::size_t i = 0; i < size(); ++i) std::free(m_texts[i]);
  orca_free_buf(m_texts, size() * sizeof(char*));
}

std::vector<std::string> HandedTexts::texts() const {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < size(); ++i) {
    texts.emplace_back(m_texts[i] == nullptr ? "" : m_texts[i]);
  }
  return texts;
}

std::size_t HandedTexts::size() const {
  return m_texts == nullptr || m_count < 0 ? 0 : static_cast<std::size_t>(m_count);
}

}  // namespace fihost
