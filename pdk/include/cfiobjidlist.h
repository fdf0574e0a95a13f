#ifndef ORCA_PDK_CFIOBJIDLIST_H
#define ORCA_PDK_CFIOBJIDLIST_H

#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Object ids on their way to the framework. Those that were not handed over are freed with the
// list, as far as the framework's utility library can free ids.
class ORCA_PDK_API CFiObjidList {
 public:
  CFiObjidList();
  ~CFiObjidList();
  CFiObjidList(const CFiObjidList&) = delete;
  CFiObjidList& operator=(const CFiObjidList&) = delete;

  // Makes a node's id of a name at the end of the list. Throws std::bad_alloc, and the list is what
  // it was.
  void add(const std::string& name);
  // Gives the framework the ids and an array of them made for it; the list is empty after that. For
  // an empty list the array is null. Throws std::bad_alloc, and list and outputs are what they
  // were.
  void handOver(orca_objid**& ids, int& count);

 private:
  std::vector<orca_objid*> m_ids;
};

}  // namespace orca_pdk_4_4

#endif
