#ifndef FIHOST_FRAMEWORK_HANDED_H
#define FIHOST_FRAMEWORK_HANDED_H

#include <fiutil.h>

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace fihost {

// What operations hand out. Each object gives it back at the end of its scope; what it offers first
// is where the operation puts its answer.

// The names of ids that stay the provider's, in order; empty for an id without one.
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

// An array of object ids, with the ids in it; of at most so many as were asked for, whatever the
// provider says.
class HandedIds {
 public:
  explicit HandedIds(int most = std::numeric_limits<int>::max()) : m_most(most) {}
  ~HandedIds();
  HandedIds(const HandedIds&) = delete;
  HandedIds& operator=(const HandedIds&) = delete;

  orca_objid*** array() { return &m_ids; }
  int* count() { return &m_count; }
  // The names of the ids, in order; empty for an id without one.
  std::vector<std::string> names() const;

 private:
  std::size_t size() const;

  orca_objid** m_ids = nullptr;
  int m_count = 0;
  int m_most;
};

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

// An array of texts.
class HandedTexts {
 public:
  HandedTexts() = default;
  ~HandedTexts();
  HandedTexts(const HandedTexts&) = delete;
  HandedTexts& operator=(const HandedTexts&) = delete;

  char*** array() { return &m_texts; }
  long* count() { return &m_count; }
  // The texts in order; empty for a null one.
  std::vector<std::string> texts() const;

 private:
  std::size_t size() const;

  char** m_texts = nullptr;
  long m_count = 0;
};

// A piece of provider state.
class HandedBlob {
 public:
  HandedBlob() = default;
  ~HandedBlob() { orca_free_buf(m_blob.data, m_blob.length); }
  HandedBlob(const HandedBlob&) = delete;
  HandedBlob& operator=(const HandedBlob&) = delete;

  pyx_blob* record() { return &m_blob; }
  // Its bytes; empty when there are none.
  std::string bytes() const {
    return m_blob.data == nullptr ? "" : std::string(m_blob.data, m_blob.length);
  }

 private:
  pyx_blob m_blob{};
};

}  // namespace fihost

#endif
