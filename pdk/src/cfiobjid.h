#ifndef ORCA_PDK_CFIOBJID_H
#define ORCA_PDK_CFIOBJID_H

#include <fiutil.h>

#include <string>

// A framework's utility library need not have this function; object ids that the kit keeps for
// itself then live as long as the process.
#pragma weak orca_free_objid

namespace orca_pdk_4_4 {

// A new object id for a name, or null when memory is short.
inline orca_objid* makeObjid(const std::string& name) {
  constexpr int kNodeKind = 3;
  return orca_get_objid(name.c_str(), name.size() + 1, kNodeKind);
}

// Lets an object id go that was made for the kit's own use.
inline void releaseObjid(orca_objid* id) {
  if (orca_free_objid != nullptr) orca_free_objid(id);
}

// The name of a node's object id; empty without one.
inline const char* nodeName(const pyx_domain* domain) {
  const bool named =
      domain != nullptr && domain->objid != nullptr && domain->objid->name != nullptr;
  return named ? domain->objid->name : "";
}

}  // namespace orca_pdk_4_4

#endif
