#ifndef ORCA_PDK_CFIDELETERS_H
#define ORCA_PDK_CFIDELETERS_H

#include <dirent.h>

#include <cstdlib>

namespace orca_pdk_4_4 {

// For std::unique_ptr: how what C functions hand out is given back.
struct CFiCloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

struct CFiFreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace orca_pdk_4_4

#endif
