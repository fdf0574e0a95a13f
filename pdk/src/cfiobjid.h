#ifndef ORCA_PDK_CFIOBJID_H
#define ORCA_PDK_CFIOBJID_H

#include <fiutil.h>

#include <string>

namespace orca_pdk_4_4 {

// A new object id for a name, or null when memory is short.
orca_objid* makeObjid(const std::string& name);

// Lets an object id go that was made for the kit's own use; null is accepted. Where the framework's
// utility library cannot free ids, they live as long as the process.
void releaseObjid(orca_objid* id);

// The name of a node's object id; empty without one.
const char* nodeName(const pyx_domain* domain);

}  // namespace orca_pdk_4_4

#endif
