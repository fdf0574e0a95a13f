#ifndef ORCA_PDK_CFICREDENTIALLIST_H
#define ORCA_PDK_CFICREDENTIALLIST_H

#include <vector>

#include "cficredentials.h"
#include "cfitstr.h"

namespace orca_pdk_4_4 {

// Appends to a list that has room; std::bad_alloc, with a record at its end that is not whole, when
// memory is short.
inline void appendCopy(std::vector<SFiCredential>& list, const SFiCredential& record) {
  const SFiCredential& copy = list.emplace_back(record);
  requireLength(copy.hostname, record.hostname.length());
  requireLength(copy.username, record.username.length());
  requireLength(copy.password, record.password.length());
  requireLength(copy.data, record.data.length());
}

// Makes room. The records that are there are copied; a shortage of memory leaves them as they are.
inline void makeRoom(std::vector<SFiCredential>& list, size_t capacity) {
  if (capacity <= list.capacity()) return;
  std::vector<SFiCredential> grown;
  grown.reserve(capacity);
  for (const SFiCredential& record : list) appendCopy(grown, record);
  list.swap(grown);
}

inline void appendRecord(std::vector<SFiCredential>& list, const SFiCredential& record) {
  if (list.size() == list.capacity()) makeRoom(list, 2 * list.size() + 1);
  appendCopy(list, record);
}

}  // namespace orca_pdk_4_4

#endif
