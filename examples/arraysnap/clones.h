#ifndef ARRAYSNAP_CLONES_H
#define ARRAYSNAP_CLONES_H

#include "arraytool.h"
#include "device.h"

namespace arraysnap {

enum class CloneMode { kCow, kFull };

// Throws Failure unless the array could clone source onto target now.
void checkClone(const ArrayTool& tool, const Device& source, const Device& target);

// Clones source onto target and waits for the end of the copy, tracing how far it is. Throws
// Failure; the clone is then forgotten.
void makeClone(const ArrayTool& tool, const Device& source, const Device& target, CloneMode mode);

orca_pdk::EFiSnapshotStatus statusOf(const ArrayTool& tool, const Device& source,
                                     const Device& target);

// Ends the relation of a clone to its source. Succeeds when there is none.
void forgetClone(const ArrayTool& tool, const Device& target);

}  // namespace arraysnap

#endif
