#ifndef ARRAYSNAP_FAILURE_H
#define ARRAYSNAP_FAILURE_H

#include <cfifailure.h>

#include <string>
#include <utility>
#include <vector>

namespace arraysnap {

// What a failure says of the array.
enum class Array {
  kDidNothing,  // it was not asked, or said no and did nothing
  kConflict,    // the same: what is asked for is there already, or a number is taken
  kNotKnown     // it may have done what it was asked for
};

// Why an operation cannot go on: a message of the catalog, its arguments and the result.
struct Failure : orca_pdk::SFiFailure {
  Failure(std::string id, std::vector<orca_pdk::CFiArgument> given, int code = orca_pdk::FI_FAILED,
          Array what = Array::kDidNothing)
      : SFiFailure{std::move(id), std::move(given), code}, array(what) {}

  Array array;
};

}  // namespace arraysnap

#endif
