#include "cfiobjid.h"

#include "cfitypes.h"

// The one imported function that a framework's utility library need not have.
extern "C" __attribute__((weak)) void orca_free_objid(orca_objid* id);

namespace orca_pdk_4_4 {

orca_objid* makeObjid(const std::string& name) {
  return orca_get_objid(name.c_str(), name.size() + 1, FI_OBJID_NODE);
}

void releaseObjid(orca_objid* id) {
  if (id != nullptr && orca_free_objid != nullptr) orca_free_objid(id);
}

const char* nodeName(const pyx_domain* domain) {
  const bool named =
      domain != nullptr && domain->objid != nullptr && domain->objid->name != nullptr;
  return named ? domain->objid->name : "";
}

}  // namespace orca_pdk_4_4
