#ifndef ORCA_PDK_CFIPROVIDERARGUMENTS_H
#define ORCA_PDK_CFIPROVIDERARGUMENTS_H

#include <functional>
#include <string>
#include <vector>

#include "cficonfig.h"
#include "cfiexport.h"
#include "cfiparameters.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// What the framework passes to an operation, looked at before it is used. To be called where
// CFiProviderSetup::guarded runs: what cannot be used throws an SFiFailure with FI_INVALID, under
// SFiHelperMessages::missing where nothing else is said. Short memory throws std::bad_alloc.

// Throws unless it is given. what names it in the message.
ORCA_PDK_API void requireGiven(bool isGiven, const char* what);

// The name of an id or of a node; null and the empty name throw.
ORCA_PDK_API std::string givenName(const orca_objid* id);
ORCA_PDK_API std::string givenName(const pyx_domain* node);

// The nodes of a session in their order; they stay the framework's. A null among them throws.
ORCA_PDK_API std::vector<pyx_domain*> givenNodes(pyx_splitnode** nodes, int count);

// The name of the snapshot that dispose is to remove: the second node of the split node, or the one
// that is passed apart.
ORCA_PDK_API std::string givenSnapshot(const pyx_domain* second, const pyx_splitnode* node);

// The names of the hosts that importNode is given; where there are none, that of this host.
ORCA_PDK_API std::vector<std::string> givenHosts(const std::vector<tstr>& hosts);

// Looks at the values that config is to take for the snapshot configuration, before it takes them;
// what config is not to take is not looked at. What the check throws is thrown on, and text that is
// no document under SFiHelperMessages::badDocument. Refused text does not stay with the request: it
// is the caller's, and the request's text is null.
ORCA_PDK_API void checkConfig(
    int mode, pyx_confspec* spec,
    const std::function<void(const CFiConfigParamDataList& values)>& check);
// The same, with the descriptions alone for a check.
ORCA_PDK_API void checkConfig(int mode, pyx_confspec* spec, const CFiParameters& parameters);

}  // namespace orca_pdk_4_4

#endif
