#ifndef ORCA_PDK_CFICACHEPATH_H
#define ORCA_PDK_CFICACHEPATH_H

#include <algorithm>
#include <string_view>

namespace orca_pdk_4_4 {

// True for a text that, put behind the cache directory, names a place outside of it: with a ".."
// between slashes, or cut short by a NUL.
inline bool leadsOutside(std::string_view path) {
  if (path.find('\0') != path.npos) return true;
  for (size_t start = 0; start <= path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    if (path.substr(start, end - start) == "..") return true;
    start = end + 1;
  }
  return false;
}

}  // namespace orca_pdk_4_4

#endif
