#ifndef FIHOST_FRAMEWORK_HANDED_H
#define FIHOST_FRAMEWORK_HANDED_H

#include <fiutil.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

namespace fihost {

// What operations hand out. Each object gives it back at the end of its scope; what it offers first
// is where the operation puts its answer.

// The names of ids that stay the provider's, in order, up to the first that is null; empty for an
// id without one.
std::vector<std::string> idNames(orca_objid* const* ids, long count);

// One object id.
class HandedId {
 public:
  HandedId() = default;
  ~HandedId() { orca_free_objid(m_id); }
  HandedId(const HandedId&) = delete;
  HandedId& operator=(const HandedId&) = delete;

  orca_objid** address() { return &m_id; }
  bool isThere() const { return m_id != nullptr; }
  // Empty for an id without a name, or without an id.
  std::string name() const { return m_id == nullptr || m_id->name == nullptr ? "" : m_id->name; }

 private:
  orca_objid* m_id = nullptr;
};

// An array of object ids or of texts with what is in it. What a provider says of it is believed
// only as far as the accounting knows the array; nothing past that is looked at.
template <typename Entry>
class HandedArray {
 public:
  // `what` says what is in it, in the plural.
  explicit HandedArray(const char* what) : m_what(what) {}
  ~HandedArray();
  HandedArray(const HandedArray&) = delete;
  HandedArray& operator=(const HandedArray&) = delete;

  Entry*** array() { return &m_entries; }
  long* count() { return &m_count; }
  // The names of the ids, or the texts, in order; empty for one that is none.
  std::vector<std::string> texts() const;
  // Why the count, the array or an entry cannot be believed; empty when all can.
  std::string problem() const;

 private:
  std::size_t size() const;

  const char* m_what;
  Entry** m_entries = nullptr;
  long m_count = 0;
};
using HandedIds = HandedArray<orca_objid>;
using HandedTexts = HandedArray<char>;

// The same of an array of object ids that stays the provider's, which may be in any memory.
std::string problemOfIds(orca_objid* const* ids, long count, const char* what);

// One text.
class HandedText {
 public:
  HandedText() = default;
  ~HandedText() { std::free(m_text); }
  HandedText(const HandedText&) = delete;
  HandedText& operator=(const HandedText&) = delete;

  char** address() { return &m_text; }
  // Empty where there is none.
  std::string text() const { return m_text == nullptr ? "" : m_text; }

 private:
  char* m_text = nullptr;
};

// A piece of provider state.
class HandedBlob {
 public:
  HandedBlob() = default;
  ~HandedBlob();
  HandedBlob(const HandedBlob&) = delete;
  HandedBlob& operator=(const HandedBlob&) = delete;

  pyx_blob* record() { return &m_blob; }
  // Its bytes; empty when there are none, or not so many as the provider says.
  std::string bytes() const;
  // Why its length cannot be believed; empty when it can.
  std::string problem() const;

 private:
  pyx_blob m_blob{};
};

}  // namespace fihost

#endif
