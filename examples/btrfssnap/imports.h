#ifndef BTRFSSNAP_IMPORTS_H
#define BTRFSSNAP_IMPORTS_H

#include <filesystem>

#include "subvolume.h"

namespace btrfssnap {

// An import is a mount of a subvolume of its own, in the folder "btrfssnap" of the kit's cache,
// under the subvolume's UUID. It lasts until it is withdrawn or the system ends.
//
// Operations throw Failure.

// Mounts a snapshot or another subvolume, without setuid programs and devices, and returns where.
// What is mounted already stays so, read-only or not as is wanted now.
std::filesystem::path importSubvolume(const std::filesystem::path& path, bool isReadOnly);

// Withdraws it; one that is not there is no failure. For a snapshot that is gone its name is
// enough.
void deportSubvolume(const std::filesystem::path& path);

// Whether a subvolume is imported. Throws std::system_error.
bool isImported(const Identity& identity);
// Fails for a snapshot that is imported; also throws std::system_error.
void requireNotImported(const std::filesystem::path& path, const Identity& identity);

}  // namespace btrfssnap

#endif
