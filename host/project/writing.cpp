#include "project/writing.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "cli/exitstatus.h"
#include "files/descriptor.h"

namespace fihost::project {

namespace {

namespace fs = std::filesystem;

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void fail(const std::string& what, const fs::path& path,
                       const std::string& why = strerror(errno)) {
  throw Problem{kWrongUse, "cannot " + what + " " + path.string() + ": " + why};
}

// A project on its way.
class Writing {
 public:
  explicit Writing(fs::path folder) : m_path(std::move(folder)) {}

  // Makes the folder, or takes the empty one that is there.
  void begin() {
    m_isOurs = mkdir(m_path.c_str(), 0777) == 0;
    if (!m_isOurs && errno != EEXIST) fail("make folder", m_path);
    m_folder = Descriptor(retried([&] { return open(m_path.c_str(), kFolderFlags); }));
    if (!m_folder) fail("use folder", m_path, notAFolder());
    if (!m_isOurs) requireFree();
  }

  void add(const File& file) {
    const fs::path path = file.path;
    makeFolders(path.parent_path());
    const bool isProgram = file.text.starts_with("#!");
    const Descriptor folder = opened(path.parent_path());
    m_made.push_back(path);
    const Descriptor made(retried([&] {
      return openat(folder.get(), path.filename().c_str(), kFileFlags, isProgram ? 0777 : 0666);
    }));
    if (!made) failToMake(path);
    write(made, file);
  }

  // Removes what was made. Returns a sentence about what is left, empty where nothing is.
  std::string undo() {
    std::string left;
    std::reverse(m_made.begin(), m_made.end());
    for (const fs::path& path : m_made) {
      if (!isRemoved(path)) left += " " + (m_path / path).string();
    }
    m_made.clear();
    if (m_isOurs && rmdir(m_path.c_str()) != 0 && errno != ENOENT) left += " " + m_path.string();
    return left.empty() ? "" : "; left behind:" + left;
  }

 private:
  static std::string notAFolder() {
    return errno == ENOTDIR || errno == ELOOP ? "it is there, and no folder" : strerror(errno);
  }

  void requireFree() const {
    struct stat status {};
    std::error_code error;
    if (fstat(m_folder.get(), &status) != 0) fail("use folder", m_path);
    const bool isEmpty = fs::is_empty(m_path, error);
    if (error) fail("use folder", m_path, error.message());
    if (!isEmpty) fail("use folder", m_path, "it is not empty");
    if (status.st_uid != geteuid()) fail("use folder", m_path, "it belongs to another user");
  }

  // The last one that was noted is not ours.
  [[noreturn]] void failToMake(const fs::path& path) {
    m_made.pop_back();
    fail("make", m_path / path);
  }

  // Folders of the project are known by their paths from it.
  void makeFolders(const fs::path& path) {
    const bool isMade = std::find(m_made.begin(), m_made.end(), path) != m_made.end();
    if (path.empty() || isMade) return;
    makeFolders(path.parent_path());
    const Descriptor parent = opened(path.parent_path());
    m_made.push_back(path);
    if (mkdirat(parent.get(), path.filename().c_str(), 0777) != 0) failToMake(path);
  }

  // Opened one by one, so that no link on the way is followed.
  Descriptor opened(const fs::path& path) const {
    Descriptor folder(fcntl(m_folder.get(), F_DUPFD_CLOEXEC, 0));
    for (const fs::path& part : path) {
      if (!folder) break;
      folder =
          Descriptor(retried([&] { return openat(folder.get(), part.c_str(), kFolderFlags); }));
    }
    if (!folder) fail("use folder", m_path / path);
    return folder;
  }

  // Synced, since some file systems tell only then that they are full.
  void write(const Descriptor& made, const File& file) const {
    std::size_t done = 0;
    while (done < file.text.size()) {
      const ssize_t count = retried(
          [&] { return ::write(made.get(), file.text.data() + done, file.text.size() - done); });
      if (count < 0) fail("write", m_path / file.path);
      done += static_cast<std::size_t>(count);
    }
    if (retried([&] { return fsync(made.get()); }) != 0) fail("write", m_path / file.path);
  }

  bool isRemoved(const fs::path& path) const {
    try {
      const Descriptor folder = opened(path.parent_path());
      const char* const name = path.filename().c_str();
      return unlinkat(folder.get(), name, 0) == 0 || errno == ENOENT ||
             unlinkat(folder.get(), name, AT_REMOVEDIR) == 0;
    } catch (const Problem&) {
      return false;
    }
  }

  fs::path m_path;
  bool m_isOurs = false;  // made by this run
  Descriptor m_folder;
  std::vector<fs::path> m_made;  // from m_path, in the order of their making
};

}  // namespace

void writeProject(const std::string& folder, const std::vector<File>& files) {
  Writing writing(folder);
  try {
    writing.begin();
    for (const File& file : files) writing.add(file);
  } catch (Problem& problem) {
    problem.text += writing.undo();
    throw;
  } catch (...) {
    writing.undo();
    throw;
  }
}

}  // namespace fihost::project
