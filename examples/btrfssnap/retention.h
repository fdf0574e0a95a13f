#ifndef BTRFSSNAP_RETENTION_H
#define BTRFSSNAP_RETENTION_H

#include "common/keeping.h"

namespace btrfssnap {

// Removes the oldest snapshots beyond the limits and returns their paths. None goes that is new or
// imported. The folder is read once, and locked meanwhile. Throws Failure.
std::vector<std::filesystem::path> removeOldest(const std::filesystem::path& folder,
                                                const samples::FolderLimits& limits);

}  // namespace btrfssnap

#endif
