#include "check/requirement.h"

namespace fihost::check {

std::vector<Requirement> allRequirements() {
  std::vector<Requirement> all;
  for (const Requirements group :
       {loadRequirements(), tableRequirements(), nodeRequirements(), configRequirements(),
        snapshotRequirements(), errorsRequirements(), resourcesRequirements(), memoryRequirements(),
        faultsRequirements(), killsRequirements()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

}  // namespace fihost::check
