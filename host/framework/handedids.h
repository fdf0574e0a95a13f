#ifndef FIHOST_FRAMEWORK_HANDEDIDS_H
#define FIHOST_FRAMEWORK_HANDEDIDS_H

#include <fiutil.h>

#include <cstddef>
#include <string>
#include <vector>

namespace fihost {

// An array of object ids that an operation hands out, with the ids in it: both are given back at
// the end of the scope.
class HandedIds {
 public:
  HandedIds() = default;
  ~HandedIds();
  HandedIds(const HandedIds&) = delete;
  HandedIds& operator=(const HandedIds&) = delete;

  // Where the operation puts its answer.
  orca_objid*** array() { return &m_ids; }
  int* count() { return &m_count; }
  // The names of the ids, in order; empty for an id without one.
  std::vector<std::string> names() const;

 private:
  std::size_t size() const;

  orca_objid** m_ids = nullptr;
  int m_count = 0;
};

}  // namespace fihost

#endif
