#ifndef FILESNAP_PARAMETERS_H
#define FILESNAP_PARAMETERS_H

#include "common/keeping.h"

namespace filesnap {

enum class CopyMode {
  kAuto,     // clone where the file system can, else copy
  kReflink,  // clone or fail
  kCopy      // copy
};

// What the user chose for a file.
struct Parameters : samples::Keeping {
  CopyMode mode = CopyMode::kAuto;
  bool verify = false;  // compare digests of file and copy
  bool deep = false;    // read all of the data to tell a snapshot's status
};

// The descriptions of all parameters.
const orca_pdk::CFiParameters& parameters();

// The parameters in a list of values; what is missing has its default. Throws Failure for an
// unknown key and for a value that is not allowed.
Parameters readParameters(const orca_pdk::CFiConfigParamDataList& values);

}  // namespace filesnap

#endif
