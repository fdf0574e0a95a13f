#ifndef ORCA_PDK_CFIXERCES_H
#define ORCA_PDK_CFIXERCES_H

#include <new>
#include <xercesc/util/OutOfMemoryException.hpp>

namespace orca_pdk_4_4 {

// Starts the XML reader's platform, once in the process; throws std::bad_alloc or an XMLException
// when that fails. It is never terminated: saved exceptions and the readers of others in the
// process outlive any moment that could be chosen.
void startXerces();

// Runs a step that calls the XML reader, whose platform is started first; a lack of memory is a
// std::bad_alloc.
template <typename Step>
auto withMemory(Step step) {
  try {
    startXerces();
    return step();
  } catch (const xercesc::OutOfMemoryException&) {
    throw std::bad_alloc();
  }
}

}  // namespace orca_pdk_4_4

#endif
