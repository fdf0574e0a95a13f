#include "cli/names.h"

#include <algorithm>
#include <filesystem>

#include "cli/exitstatus.h"

namespace fihost {

namespace fs = std::filesystem;

namespace {

bool isDots(const fs::path& part) { return part.empty() || part == "." || part == ".."; }

}  // namespace

bool isExistingPath(const std::string& name) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(name, ignored));
}

std::string absoluteName(const std::string& name) {
  if (!isExistingPath(name)) return name;
  try {
    const fs::path path = fs::absolute(name);
    if (isDots(path.filename())) return fs::canonical(path).string();
    const bool goesUp = std::find(path.begin(), path.end(), "..") != path.end();
    // Only the file system knows where ".." behind a link leads.
    if (goesUp) return (fs::canonical(path.parent_path()) / path.filename()).string();
    return path.lexically_normal().string();
  } catch (const fs::filesystem_error& error) {
    throw Problem{kWrongUse, "cannot follow \"" + name + "\": " + error.code().message()};
  }
}

}  // namespace fihost
