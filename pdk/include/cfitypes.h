#ifndef ORCA_PDK_CFITYPES_H
#define ORCA_PDK_CFITYPES_H

#include <ace/SString.h>
#include <fiutil.h>

// The kit's classes and functions. The name carries the kit's version, so that two versions can
// live in one process; `orca_pdk` always names the version of the headers in use.
namespace orca_pdk_4_4 {

// The 8-bit text of configuration values, provider names and paths.
using tstr = ACE_String_Base<char>;

// Result codes of provider operations.
enum EFiResult : int {
  FI_OK = 0,                     // success
  FI_YES = 1,                    // yes, from interpose and supportsFiType
  FI_INVALID = 3,                // argument or output pointer null or empty, no private data,
                                 // or an invalid document
  FI_NOT_SUPPORTED = 4,          // the provider does not have this operation
  FI_NO_MEMORY = 5,              // out of memory
  FI_FAILED = 6,                 // the operation failed; also no target, an import without a flag
  FI_CANNOT_QUERY_DEVICE = 18,   // a device cannot be queried
  FI_FILE_ERROR = 26,            // a file could not be opened or read
  FI_NO_CREDENTIALS = 31,        // the credential text is empty
  FI_CANNOT_CHANGE_OWNER = 1091  // a device's owner cannot be changed
};

// Levels of trace lines: the higher, the more detailed.
enum EFiTraceLevel : int {
  FI_TRACE_ERROR = 1,
  FI_TRACE_WARNING = 2,
  FI_TRACE_INFO = 3,
  FI_TRACE_DETAIL = 6  // function entry and exit, and details
};

}  // namespace orca_pdk_4_4

namespace orca_pdk = orca_pdk_4_4;

#endif
