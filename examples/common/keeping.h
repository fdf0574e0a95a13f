#ifndef SAMPLES_KEEPING_H
#define SAMPLES_KEEPING_H

#include <cfiparameters.h>
#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "failure.h"
#include "trust.h"

namespace samples {

// Keeping snapshots in folders, and no more of them than the user wants.

// Where snapshots are kept, and how many: parameters "snapshot_dir" and "keep". Parameters of a
// sample derive from it.
struct Keeping {
  std::filesystem::path directory;  // relative: beside the source
  int keep = 8;                     // how many snapshots of a source are kept

  // Takes both from a list of values, all of which it checks. Throws Failure for an unknown key and
  // for a value that is not allowed.
  void read(const orca_pdk::CFiParameters& parameters,
            const orca_pdk::CFiConfigParamDataList& values);
};

// A snapshot that was made.
struct Made {
  std::filesystem::path path;  // empty as long as nothing may be there
  std::string line;            // names all that are counted together
  uid_t owner = 0;             // of the source
};

// What is to be snapshotted, how, and what was made of it.
template <typename Parameters>
struct RequestOf {
  std::filesystem::path source;
  Parameters parameters;
  Made made;
};

// The folder in which snapshots of a source are kept. Throws Failure.
std::filesystem::path snapshotFolder(const std::filesystem::path& source, const Keeping& keeping);

// Runs step(folder, requests) for each folder of snapshots, one after the other: whatever the
// number of sources, a few descriptors are open. Throws Failure.
template <typename Parameters, typename Step>
void inEachFolder(std::vector<RequestOf<Parameters>>& requests, Step step) {
  std::map<std::filesystem::path, std::vector<RequestOf<Parameters>*>> folders;
  for (RequestOf<Parameters>& request : requests) {
    folders[snapshotFolder(request.source, request.parameters)].push_back(&request);
  }
  const std::string failed = messageId("DIR_FAILED");
  for (const auto& entry : folders) {
    withMessage(failed, entry.first, [&] { step(entry.first, entry.second); });
  }
}

// A snapshot that is there.
struct Kept {
  std::string name;
  std::string line;
  int64_t made = 0;   // nanoseconds since the epoch
  int64_t order = 0;  // grows from snapshot to snapshot
};

// How many snapshots are kept in a folder, after a session has made new ones.
struct FolderLimits {
  std::map<std::string, int> keep;  // of each line
  std::set<std::string> fresh;      // the names of the new ones
  uid_t owner = 0;                  // of the sources
  int64_t begun = 0;                // when the session began: nanoseconds since the epoch

  // Whether a snapshot is one of the session, or of another one that may have just made it. The
  // clock may have been set back: what was just made is new, whatever its time.
  bool isNew(const Kept& snapshot) const {
    return snapshot.made >= begun || fresh.count(snapshot.name) != 0;
  }
};

// What look answers; nothing where it fails: what cannot be told to be a snapshot is neither
// counted nor removed.
template <typename Look>
auto ifTold(Look look) -> decltype(look()) {
  try {
    return look();
  } catch (const Failure&) {
  } catch (const std::system_error&) {
  }
  return {};
}

// Removes the oldest snapshots beyond the limits and returns their paths. None goes that is new or
// in use. look(name) tells what is in the folder under a name: an optional of a struct that derives
// from Kept, which isInUse and remove are given.
template <typename Look, typename IsInUse, typename Remove>
std::vector<std::filesystem::path> removeBeyond(const Folder& folder, const FolderLimits& limits,
                                                Look look, IsInUse isInUse, Remove remove) {
  using Snapshot = typename decltype(look(std::string()))::value_type;
  std::map<std::string, std::vector<Snapshot>> lines;
  for (const std::string& name : namesIn(folder.descriptor)) {
    auto snapshot = look(name);
    if (!snapshot || limits.keep.count(snapshot->line) == 0) continue;
    lines[snapshot->line].push_back(std::move(*snapshot));
  }
  std::vector<std::filesystem::path> removed;
  for (auto& [line, snapshots] : lines) {
    std::ranges::sort(snapshots, {}, &Snapshot::order);
    auto excess = static_cast<std::ptrdiff_t>(snapshots.size()) - limits.keep.at(line);
    for (const Snapshot& snapshot : snapshots) {
      if (excess <= 0) break;
      if (limits.isNew(snapshot) || isInUse(snapshot)) continue;
      remove(snapshot);
      removed.push_back(folder.path / snapshot.name);
      --excess;
    }
  }
  return removed;
}

}  // namespace samples

#endif
