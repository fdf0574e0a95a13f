#ifndef ORCA_PDK_CFINEWFILE_H
#define ORCA_PDK_CFINEWFILE_H

#include <sys/types.h>

#include <string>

#include "cfidescriptor.h"

namespace orca_pdk_4_4 {

// A file on its way to its name. It is written beside its place as ".new-<pid>-<number>" and takes
// its name when it is whole, so that no reader, no full disk and no killed writer leaves half a
// file there. What fails sets errno.
class CFiNewFile {
 public:
  // Only names the file.
  explicit CFiNewFile(const std::string& path);
  // Removes the file unless it took its place.
  ~CFiNewFile();

  // Makes the file, empty, with owner, group and mode of the one at its place; without one it
  // belongs to the process, with the usual mode.
  bool openLikeOld();
  // Makes the file, empty, for the process's user alone.
  bool openPrivate();
  int fd() const { return m_file.get(); }
  // The name under which it is written.
  const std::string& temporary() const { return m_temporary; }
  bool sync();
  bool putInPlace();

  // Removes what killed writers left in the same folder.
  void sweepFolder() const;

  // True for a name that such a file has on its way; the file is removed when its process is gone.
  static bool sweep(const std::string& folder, const char* name);

 private:
  bool open(mode_t mode);

  const std::string m_path;
  const std::string m_temporary;
  CFiDescriptor m_file{-1};
  bool m_isPending = false;
};

// Writes a whole text; false with errno.
bool writeAll(int fd, const char* text, size_t size);

}  // namespace orca_pdk_4_4

#endif
