#include <cfiexport.h>

#include <cstdlib>

extern "C" {
ORCA_PDK_API extern const char orca_provider_abi[];
const char orca_provider_abi[] = "9.9";
ORCA_PDK_API void* orca_provider_create();
void* orca_provider_create() { std::abort(); }
}
