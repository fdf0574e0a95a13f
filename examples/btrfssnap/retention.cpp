#include "retention.h"

#include "imports.h"
#include "snapshotstore.h"

namespace btrfssnap {

namespace {

namespace fs = std::filesystem;

struct Old : Kept {
  Identity identity;
};

std::optional<Old> oldIn(const Folder& folder, const std::string& name) {
  if (!readName(name)) return std::nullopt;
  const auto snapshot = ifTold([&] { return findIn(folder, name, {}).snapshot; });
  if (!snapshot) return std::nullopt;
  const Identity& identity = snapshot->identity;
  const auto order = static_cast<int64_t>(identity.created);
  return Old{{name, lineOfSource(*snapshot), identity.made, order}, identity};
}

}  // namespace

std::vector<fs::path> removeOldest(const fs::path& path, const FolderLimits& limits) {
  return withMessage("BTRFSSNAP_DISPOSE_FAILED", path, [&]() -> std::vector<fs::path> {
    const auto folder = LockedFolder::findToRemove(path, limits.owner);
    if (!folder) return {};
    return removeBeyond(
        folder->folder(), limits,
        [&](const std::string& name) { return oldIn(folder->folder(), name); },
        [](const Old& old) { return isImported(old.identity); },
        [&](const Old& old) { removeIn(*folder, old.identity); });
  });
}

}  // namespace btrfssnap
