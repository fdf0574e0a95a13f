#ifndef BTRFSSNAP_PARAMETERS_H
#define BTRFSSNAP_PARAMETERS_H

#include <cficonfig.h>
#include <cfiprivatedata.h>

#include <filesystem>
#include <string>

namespace btrfssnap {

// The list index of the snapshot configuration.
inline constexpr int kSnapshotIndex = 1;

// What the user chose for a subvolume.
struct Parameters {
  std::filesystem::path directory = ".btrfssnap";  // relative: beside the subvolume
  std::string pattern = "%n.%t";                   // of the names of snapshots
  int keep = 8;                                    // how many snapshots of a subvolume are kept
  bool isWritable = false;                         // snapshots can be written to
  bool keepReplaced = false;                       // what restore replaces stays
};

// Fills a list with the descriptions of all parameters.
void describeParameters(orca_pdk::CFiConfigParamInfoList& list);

// The parameters in a list of values; what is missing has its default. Throws Failure for an
// unknown key and for a value that is not allowed.
Parameters readParameters(const orca_pdk::CFiConfigParamDataList& values);

// The same for the snapshot configuration of a node.
Parameters readParameters(orca_pdk::CFiPrivateData& data);

}  // namespace btrfssnap

#endif
