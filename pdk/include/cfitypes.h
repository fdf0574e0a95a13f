#ifndef ORCA_PDK_CFITYPES_H
#define ORCA_PDK_CFITYPES_H

#include <ace/SString.h>
#include <fiutil.h>

#include "cfiexport.h"

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

// Kind of the object id of a node.
enum EFiObjidKind : int { FI_OBJID_NODE = 3 };

// Statuses that getStatus gives a snapshot.
enum EFiSnapshotStatus : long {
  FI_SNAPSHOT_ABSENT = 0,   // there is none, or it is not of this source
  FI_SNAPSHOT_DAMAGED = 1,  // it is there, but cannot be used
  FI_SNAPSHOT_READY = 8
};

// Statuses that restore gives a pair of source and snapshot.
enum EFiRestoreStatus : long { FI_RESTORE_DONE = 0, FI_RESTORE_FAILED = 1 };

// Modes of config.
enum EFiConfigMode : int {
  FI_CONFIG_GET = 1,       // hands the values out
  FI_CONFIG_SET = 2,       // takes values
  FI_CONFIG_CLEAR = 3,     // forgets the values
  FI_CONFIG_GETPARAM = 4,  // hands the descriptions out
  FI_CONFIG_SETPARAM = 5   // the same as FI_CONFIG_SET
};

// List index of the parameters and values that a snapshot is taken with.
enum EFiConfigIndex : int { FI_CONFIG_SNAPSHOT = 1 };

// Flags of a node's record.
enum EFiNodeFlag : uint32_t {
  FI_NODE_READY = 0x8,       // set by isReady
  FI_NODE_ACCESS_OFF = 0x40  // set by disableAccess, cleared by enableAccess
};

// Flags of importResource and deportResource.
enum EFiImportFlag : int {
  FI_IMPORT_READ_WRITE = 0x1,
  FI_IMPORT_READ_ONLY = 0x2,
  FI_DEPORT_READ_ONLY = 0x10,  // withdraws a read-only import
  FI_DEPORT = 0x20             // withdraws any other
};

}  // namespace orca_pdk_4_4

#endif
