#ifndef FIHOST_CHECK_REQUIREMENT_H
#define FIHOST_CHECK_REQUIREMENT_H

#include <span>
#include <string>
#include <vector>

namespace fihost::check {

class Bench;

// Thrown by the test of a requirement that does not hold: what was seen instead, as a sentence
// without a point.
struct Broken {
  std::string what;
};

// Thrown where a requirement does not apply: why.
struct Skipped {
  std::string why;
};

// Something that must hold of every provider.
struct Requirement {
  const char* id;        // GROUP.NAME
  const char* sentence;  // what must hold
  const char* reason;    // why, for whoever has to mend it
  // Returns when it holds; otherwise throws Broken or Skipped. Runs in a process of its own, in
  // which the plug-in is not loaded yet.
  void (*test)(Bench&);
};

using Requirements = std::span<const Requirement>;

// The groups.
Requirements loadRequirements();
Requirements tableRequirements();
Requirements nodeRequirements();
Requirements configRequirements();
Requirements snapshotRequirements();
Requirements errorsRequirements();
Requirements resourcesRequirements();
Requirements memoryRequirements();
Requirements faultsRequirements();
Requirements killsRequirements();

// All requirements, in the order in which they are tried.
std::vector<Requirement> allRequirements();

// Throws Broken when something does not hold.
inline void require(bool holds, const std::string& otherwise) {
  if (!holds) throw Broken{otherwise};
}

}  // namespace fihost::check

#endif
