#ifndef SAMPLES_TRUST_H
#define SAMPLES_TRUST_H

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "files.h"

namespace samples {

// What others could have planted or exchanged is not believed. Trusted is what belongs to root, to
// the process's user or to the owner of the file that is snapshotted, and what nobody else can
// change. In a sticky folder nobody else can rename or remove an entry.

// A folder, opened name by name from the root without following a link.
struct Folder {
  // A folder on the way and its state, as it was passed.
  struct Step {
    std::filesystem::path path;
    struct stat status;
  };

  std::filesystem::path path;
  Descriptor descriptor;
  std::vector<Step> way;  // from the mount on, which nobody can move, down to the folder itself
};

// Opens a folder by its absolute path. Throws std::system_error.
Folder openFolder(const std::filesystem::path& path);
// The same; nothing when there is none.
std::optional<Folder> findFolder(const std::filesystem::path& path);

// Opens a folder that the owner's snapshots may be kept in; missing ones are made (mode 0700), so
// that they last. Throws Failure, where it or a folder above is not trusted, and std::system_error.
Folder openOrMakeFolder(const std::filesystem::path& path, uid_t owner);

// Removes a folder that is empty. Errors are ignored: it stays, which harms nobody. Throws nothing.
void removeEmptyFolder(const std::filesystem::path& path) noexcept;

// Whoever owns the root folder, and so can change all below it. That is user 0, but has another
// number in a user namespace that does not map it.
uid_t rootUser();

// Throws Failure, which names it, where a thing of this state could have been changed by others
// than root, this process's user and the owner.
void requireTrusted(const std::filesystem::path& path, const struct stat& status, uid_t owner);
// The same for a folder and all above it.
void requireTrusted(const Folder& folder, uid_t owner);

// The one path of a file, however it was named: the links before its name are resolved. Throws
// std::system_error.
std::filesystem::path placeOf(const std::filesystem::path& file);

// Who a file of this place belongs to; when it is gone, who owns its folder; when that is gone as
// well, the process's user. Throws std::system_error.
uid_t ownerOf(const std::filesystem::path& place);

}  // namespace samples

#endif
