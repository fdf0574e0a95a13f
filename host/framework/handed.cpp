#include "framework/handed.h"

#include <fiutil_accounting.h>

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace fihost {

namespace {

std::optional<std::size_t> knownSize(const void* object) {
  std::size_t size = 0;
  if (orca_accounting_size(object, &size) == 0) return std::nullopt;
  return size;
}

bool isHandedOut(const orca_objid* id) { return orca_accounting_size(id, nullptr) != 0; }
bool isHandedOut(const char* text) { return text != nullptr; }

std::string textOf(const orca_objid* id) {
  return !isHandedOut(id) || id->name == nullptr ? "" : id->name;
}
std::string textOf(const char* text) { return text == nullptr ? "" : text; }

void giveBack(orca_objid* id) { orca_free_objid(id); }
void giveBack(char* text) { std::free(text); }

std::string counted(long count, const char* what) {
  return "it says that it handed out " + std::to_string(count) + " " + what;
}

// Why an array of pointers cannot have so many entries; empty when it can. `size` is its size where
// that is known.
std::string problemOfArray(const void* array, long count, std::optional<std::size_t> size,
                           const char* what) {
  std::string said = counted(count, what);
  if (count < 0) return said;
  if (array == nullptr) return count == 0 ? "" : said + ", but no array of them";
  const std::size_t room = size.value_or(SIZE_MAX) / sizeof(void*);
  if (static_cast<std::size_t>(count) <= room) return "";
  return said + " in an array that has room for " + std::to_string(room);
}

std::string entryProblem(long count, const char* what, std::size_t i, const char* problem) {
  return counted(count, what) + ", but number " + std::to_string(i + 1) + " is " + problem;
}

}  // namespace

std::vector<std::string> idNames(orca_objid* const* ids, long count) {
  std::vector<std::string> names;
  for (long i = 0; ids != nullptr && i < count && ids[i] != nullptr; ++i) {
    names.emplace_back(ids[i]->name == nullptr ? "" : ids[i]->name);
  }
  return names;
}

std::string problemOfIds(orca_objid* const* ids, long count, const char* what) {
  std::string problem = problemOfArray(ids, count, knownSize(ids), what);
  for (long i = 0; problem.empty() && i < count; ++i) {
    if (ids[i] != nullptr) continue;
    return entryProblem(count, what, static_cast<std::size_t>(i), "null");
  }
  return problem;
}

template <typename Entry>
HandedArray<Entry>::~HandedArray() {
  for (std::size_t i = 0; i < size(); ++i) giveBack(m_entries[i]);
  // What cannot be its size is no finding of its own.
  const bool isItsSize = problemOfArray(m_entries, m_count, knownSize(m_entries), m_what).empty();
  const std::size_t said = static_cast<std::size_t>(m_count) * sizeof(Entry*);
  orca_free_buf(m_entries, isItsSize ? said : knownSize(m_entries).value_or(0));
}

template <typename Entry>
std::vector<std::string> HandedArray<Entry>::texts() const {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < size(); ++i) texts.push_back(textOf(m_entries[i]));
  return texts;
}

template <typename Entry>
std::string HandedArray<Entry>::problem() const {
  const auto known = knownSize(m_entries);
  std::string problem = problemOfArray(m_entries, m_count, known, m_what);
  if (!problem.empty()) return problem;
  if (m_entries != nullptr && !known) {
    return counted(m_count, m_what) + " in an array that is none of orca_alloc_buf";
  }
  for (std::size_t i = 0; i < size(); ++i) {
    if (isHandedOut(m_entries[i])) continue;
    return entryProblem(m_count, m_what, i,
                        m_entries[i] == nullptr ? "null" : "no object id of orca_get_objid");
  }
  return "";
}

// How many entries can be looked at.
template <typename Entry>
std::size_t HandedArray<Entry>::size() const {
  const std::size_t room = knownSize(m_entries).value_or(0) / sizeof(Entry*);
  return m_count < 0 ? 0 : std::min(room, static_cast<std::size_t>(m_count));
}

template class HandedArray<orca_objid>;
template class HandedArray<char>;

HandedBlob::~HandedBlob() {
  orca_free_buf(m_blob.data,
                problem().empty() ? m_blob.length : knownSize(m_blob.data).value_or(0));
}

std::string HandedBlob::bytes() const {
  return m_blob.data == nullptr || !problem().empty() ? ""
                                                      : std::string(m_blob.data, m_blob.length);
}

std::string HandedBlob::problem() const {
  const std::string said =
      "it says that it handed out a state of " + std::to_string(m_blob.length) + " bytes";
  if (m_blob.data == nullptr) return m_blob.length == 0 ? "" : said + ", but no buffer";
  const auto size = knownSize(m_blob.data);
  if (!size) return said + " in a buffer that is none of orca_alloc_buf";
  return m_blob.length <= *size ? "" : said + " in a buffer of " + std::to_string(*size);
}

}  // namespace fihost
