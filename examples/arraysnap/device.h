#ifndef ARRAYSNAP_DEVICE_H
#define ARRAYSNAP_DEVICE_H

#include <string>

namespace arraysnap {

// A device of the array, as the array and the framework name it.
struct Device {
  std::string enclosure;
  std::string name;
  std::string udid;  // without the provider's marker, in upper case
};

// The device of a node name or of a device identifier. Throws Failure for a text that is none, and
// for one that the array cannot have.
Device deviceOf(const std::string& nodeName);

// Throws Failure for a text that cannot be a name on the array's command line.
void checkName(const std::string& name);

}  // namespace arraysnap

#endif
