// A provider that snapshots Btrfs subvolumes. See README.md.

#include "common/keeper.h"
#include "imports.h"
#include "retention.h"
#include "snapshotmaking.h"
#include "snapshotstore.h"

const char* const samples::kMessagePrefix = "BTRFSSNAP_";

namespace btrfssnap {

using namespace orca_pdk;

class BtrfsSnap : public Keeper<Parameters> {
 public:
  BtrfsSnap() : Keeper("btrfssnap", parameters(), readParameters) {}

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    return m_setup.claimWhere(primary, secondaries, count, [&](const std::string& name) {
      openSubvolume(placeOf(pathOf(name)));
      return true;
    });
  }

  // Ready is what no crash takes away any more.
  int isReady(char*, pyx_splitnode** nodes, int count) override {
    return m_setup.guarded(__func__, [&] {
      for (const auto& entry : limits()) waitForSnapshots(entry.first);
      for (pyx_domain* domain : givenNodes(nodes, count)) domain->flags |= FI_NODE_READY;
    });
  }

  // Mounts a snapshot, or another subvolume; hosts are all this one.
  int importResource(char**, char* resource, char*, char*, int flags, char** imported,
                     char*) override {
    return m_setup.guarded(__func__, [&] {
      const bool isReadOnly = (flags & FI_IMPORT_READ_ONLY) != 0;
      if (!isReadOnly && (flags & FI_IMPORT_READ_WRITE) == 0) return FI_FAILED;
      const std::string place = importSubvolume(pathOfResource(resource), isReadOnly);
      if (imported != nullptr) {
        *imported = CFiStringTool::tstrdup(CFiStringTool::str2tstr(place));
        if (*imported == nullptr) throw std::bad_alloc();
      }
      return FI_OK;
    });
  }

  int deportResource(char* resource, char*, char*, char*, int) override {
    return m_setup.guarded(__func__, [&] { deportSubvolume(pathOfResource(resource)); });
  }

 private:
  // Absolute, without a "/" at its end.
  Path pathOf(const std::string& name) const override {
    const Path path = std::filesystem::absolute(name);
    return path.has_filename() ? path : path.parent_path();
  }

  Path pathOfResource(const char* resource) const {
    requireGiven(resource != nullptr && *resource != '\0', "name");
    return pathOf(resource);
  }

  int64_t now() const override { return btrfssnap::now(); }

  void prepareSources(Requests& requests) override { checkSources(requests); }

  void takeSnapshots(Requests& requests, const std::string& session) override {
    btrfssnap::takeSnapshots(requests, session);
  }

  long statusOf(const Path& source, const Path& snapshot) override {
    const Found found = findSnapshot(snapshot, source);
    if (found.reason) m_setup.push(*found.reason, PYX_SEV_WARNING);
    return found.status;
  }

  void restoreSnapshot(const Path& source, const Path& snapshot) override {
    const bool keepReplaced = parametersOf(source).keepReplaced;
    const auto told = btrfssnap::restoreSnapshot(snapshot, source, keepReplaced);
    if (told) m_setup.push(*told, PYX_SEV_WARNING);
  }

  void removeSnapshot(const Path& snapshot) override { btrfssnap::removeSnapshot(snapshot); }

  std::vector<Path> removeOldest(const Path& folder, const FolderLimits& limits) override {
    return btrfssnap::removeOldest(folder, limits);
  }
};

}  // namespace btrfssnap

ORCA_PROVIDER(btrfssnap::BtrfsSnap);
