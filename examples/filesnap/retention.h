#ifndef FILESNAP_RETENTION_H
#define FILESNAP_RETENTION_H

#include "common/keeping.h"

namespace filesnap {

// Removes the oldest snapshots beyond the limits and returns their paths. None goes that is new or
// that the session of another process may be using. The folder is read once, and locked meanwhile.
// Throws Failure.
std::vector<std::filesystem::path> removeOldest(const std::filesystem::path& folder,
                                                const samples::FolderLimits& limits);

}  // namespace filesnap

#endif
