#ifndef FIARRAY_FILE_H
#define FIARRAY_FILE_H

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace fiarray {

namespace fs = std::filesystem;

// An open file. Its operations throw Fault.
class File {
 public:
  // Opens with open's flags; O_CLOEXEC is added. What is created gets mode 0600.
  File(const fs::path& path, int flags);
  ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int fd() const { return m_fd; }
  void resize(uint64_t size) const;
  void sync() const;
  // When it was last written, in nanoseconds.
  int64_t writeTime() const;

 private:
  fs::path m_path;
  int m_fd;
};

// The whole content of a small file. Throws Fault.
std::string readText(const fs::path& path);

// Replaces a file as a whole: after a kill the old content is there or the new. The file is private
// to its owner. midway is called when the new content is complete but has not got its name.
template <typename Midway>
void replaceText(const fs::path& path, const std::string& text, Midway midway);

void writeTemporary(const fs::path& path, const std::string& text);
// Gives a complete, durable file its name, durably.
void renameDurably(const fs::path& from, const fs::path& to);

template <typename Midway>
void replaceText(const fs::path& path, const std::string& text, Midway midway) {
  const fs::path temporary = path.string() + ".new";
  writeTemporary(temporary, text);
  midway();
  renameDurably(temporary, path);
}

// Makes source and target share their blocks. False where the file system cannot.
bool share(const File& source, const File& target);

// Copies data from a place on, holes left out, until most bytes were copied or the end is reached.
// Returns the place reached.
uint64_t copyPiece(const File& source, const File& target, uint64_t from, uint64_t size,
                   uint64_t most);

}  // namespace fiarray

#endif
