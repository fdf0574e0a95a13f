#ifndef ORCA_PDK_CFIXERCES_H
#define ORCA_PDK_CFIXERCES_H

#include <xercesc/util/PlatformUtils.hpp>

namespace orca_pdk_4_4 {

// Starts the XML reader's platform; throws an XMLException when that fails. It is never terminated:
// saved exceptions and the readers of others in the process outlive any moment that could be
// chosen.
inline void startXerces() {
  [[maybe_unused]] static const bool started = [] {
    xercesc::XMLPlatformUtils::Initialize();
    return true;
  }();
}

}  // namespace orca_pdk_4_4

#endif
