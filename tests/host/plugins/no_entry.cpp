#include <cfiexport.h>

extern "C" {
ORCA_PDK_API extern const char orca_provider_abi[];
const char orca_provider_abi[] = "4.4";
}
