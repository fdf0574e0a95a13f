// A provider that snapshots regular files: disk images, database files. See README.md.

#include "common/keeper.h"
#include "retention.h"
#include "snapshotmaking.h"
#include "snapshotstore.h"

const char* const samples::kMessagePrefix = "FILESNAP_";

namespace filesnap {

class FileSnap : public Keeper<Parameters> {
 public:
  FileSnap() : Keeper("filesnap", parameters(), readParameters) {}

  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override {
    return m_setup.claimWhere(primary, secondaries, count, [](const std::string& file) {
      return static_cast<bool>(openSource(file));
    });
  }

 private:
  int64_t now() const override { return filesnap::now(); }

  void prepareSources(Requests& requests) override { prepareFiles(requests); }

  void takeSnapshots(Requests& requests, const std::string& session) override {
    snapshotFiles(requests, session, [&](const Path& file, int percent) {
      traceLine(orca_pdk::FI_TRACE_INFO, "copied %d %% of %s", percent, file.c_str());
    });
  }

  long statusOf(const Path& source, const Path& snapshot) override {
    const long status = checkSnapshot(snapshot, parametersOf(source).deep);
    if (status == orca_pdk::FI_SNAPSHOT_ABSENT) {
      m_setup.push(failure("FILESNAP_ABSENT", {snapshot}), PYX_SEV_WARNING);
    }
    return status;
  }

  void restoreSnapshot(const Path& source, const Path& snapshot) override {
    filesnap::restoreSnapshot(snapshot, source);
  }

  void removeSnapshot(const Path& snapshot) override { filesnap::removeSnapshot(snapshot); }

  std::vector<Path> removeOldest(const Path& folder, const FolderLimits& limits) override {
    return filesnap::removeOldest(folder, limits);
  }
};

}  // namespace filesnap

ORCA_PROVIDER(filesnap::FileSnap);
