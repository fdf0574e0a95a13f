#ifndef ARRAYSNAP_FAILURE_H
#define ARRAYSNAP_FAILURE_H

#include <cfitypes.h>

#include <string>
#include <vector>

namespace arraysnap {

// Why an operation cannot go on: a message of the catalog and its arguments. Thrown inside the
// provider only; each operation turns it into a message record and a result.
struct Failure {
  std::string messageId;
  std::vector<std::string> arguments;
  int result = orca_pdk::FI_FAILED;
  // The array said no and did nothing. Else it may have done what it was asked for.
  bool isRefusal = true;
};

}  // namespace arraysnap

#endif
