#ifndef BTRFSSNAP_PARAMETERS_H
#define BTRFSSNAP_PARAMETERS_H

#include "common/keeping.h"

namespace btrfssnap {

// What the user chose for a subvolume.
struct Parameters : samples::Keeping {
  std::string pattern = "%n.%t";  // of the names of snapshots
  bool isWritable = false;        // snapshots can be written to
  bool keepReplaced = false;      // what restore replaces stays
};

// The descriptions of all parameters.
const orca_pdk::CFiParameters& parameters();

// The parameters in a list of values; what is missing has its default. Throws Failure for an
// unknown key and for a value that is not allowed.
Parameters readParameters(const orca_pdk::CFiConfigParamDataList& values);

}  // namespace btrfssnap

#endif
