// An entry that is not as it should be: of the ABI that it is built for, with a function that makes
// no provider, or none.
#include <cfipluginbase.h>

extern "C" {
ORCA_PDK_API extern const char orca_provider_abi[];
const char orca_provider_abi[] = ENTRY_ABI;
#ifdef ENTRY_MAKES_NOTHING
ORCA_PDK_API orca_pdk::CFiPluginBase* orca_provider_create();
orca_pdk::CFiPluginBase* orca_provider_create() { return nullptr; }
#endif
}
