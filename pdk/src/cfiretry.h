#ifndef ORCA_PDK_CFIRETRY_H
#define ORCA_PDK_CFIRETRY_H

#include <cerrno>

namespace orca_pdk_4_4 {

// Result of a system call that is repeated while a signal interrupts it; after many interruptions
// in a row the interruption is the result.
template <class Call>
auto retryInterrupted(Call call) {
  auto result = call();
  for (int tries = 0; result < 0 && errno == EINTR && tries < 1000; ++tries) result = call();
  return result;
}

}  // namespace orca_pdk_4_4

#endif
