#ifndef FILESNAP_PARAMETERS_H
#define FILESNAP_PARAMETERS_H

#include <cficonfig.h>
#include <cfiprivatedata.h>

#include <filesystem>

namespace filesnap {

// The list index of the snapshot configuration.
inline constexpr int kSnapshotIndex = 1;

enum class CopyMode {
  kAuto,     // clone where the file system can, else copy
  kReflink,  // clone or fail
  kCopy      // copy
};

// What the user chose for a file.
struct Parameters {
  std::filesystem::path directory = ".filesnap";  // relative: beside the file
  CopyMode mode = CopyMode::kAuto;
  int keep = 8;         // how many snapshots of a file are kept
  bool verify = false;  // compare digests of file and copy
  bool deep = false;    // read all of the data to tell a snapshot's status
};

// Fills a list with the descriptions of all parameters.
void describeParameters(orca_pdk::CFiConfigParamInfoList& list);

// The parameters in a list of values; what is missing has its default. Throws Failure for an
// unknown key and for a value that is not allowed.
Parameters readParameters(const orca_pdk::CFiConfigParamDataList& values);

// The same for the snapshot configuration of a node.
Parameters readParameters(orca_pdk::CFiPrivateData& data);

}  // namespace filesnap

#endif
