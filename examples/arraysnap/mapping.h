#ifndef ARRAYSNAP_MAPPING_H
#define ARRAYSNAP_MAPPING_H

#include <functional>

#include "arraytool.h"
#include "device.h"

namespace arraysnap {

// Shows a device to hosts under one LUN number, the number that the LUN cache remembers for it or
// the lowest free one of its enclosure; where the array refuses that, the number under which it
// shows the device already, or one that is free there. ready is called with the path under which
// the device is seen. Returns that path. All hosts or none: what was mapped by a call that throws
// is unmapped again, and a number that it took is given back unless the array may be using it.
std::string mapDevice(const ArrayTool& tool, const Device& device,
                      const std::vector<std::string>& hosts,
                      const std::function<void(const std::string& path)>& ready);

// Hides a device from hosts and gives its number back when no host sees it any more. Succeeds for
// hosts that do not see it. Throws Failure; hosts that were done stay done.
void unmapDevice(const ArrayTool& tool, const Device& device,
                 const std::vector<std::string>& hosts);

}  // namespace arraysnap

#endif
