#include "framework/installroot.h"

#include <fiutil.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace fihost {

namespace fs = std::filesystem;

namespace {

constexpr char kDefaultRoot[] = "/usr/tarn";
constexpr const char* kStoreFolders[] = {"lib/orca/configfiles", "lib/orca/cachefiles"};

// The prefix that the host is installed in; empty for one in a build tree.
fs::path ownPrefix() {
  std::error_code ignored;
  fs::path prefix = fs::read_symlink("/proc/self/exe", ignored).parent_path().parent_path();
  return fs::is_directory(prefix / "lib/orca", ignored) ? prefix : fs::path();
}

}  // namespace

std::string installRoot() {
  char* root = nullptr;
  orca_get_install_root(&root);
  std::string path = root == nullptr ? kDefaultRoot : root;
  if (root != nullptr) orca_free_buf(root, std::strlen(root) + 1);
  return path;
}

void prepareInstallRoot() {
  const char* setting = std::getenv("ORCA_INSTALL_ROOT");
  if (setting == nullptr || *setting == '\0') {
    const fs::path prefix = ownPrefix();
    if (prefix.empty()) return;
    setenv("ORCA_INSTALL_ROOT", prefix.c_str(), 1);
  }
  std::error_code ignored;
  const fs::path root = installRoot();
  if (!fs::is_directory(root, ignored)) return;
  for (const char* folder : kStoreFolders) fs::create_directories(root / folder, ignored);
}

// Where there is no catalog, the text of a message is its id in angle brackets and nothing else.
void CatalogWatch::ended(const Call& call) {
  const Op op = call.operation->id;
  if (op != Op::GetLocaleMessage && op != Op::CatalogMessage) return;
  for (const NamedValue& output : call.outputs) {
    const auto* text = std::get_if<std::string>(&output.value);
    if (text == nullptr || !text->starts_with('<')) continue;
    const std::string folder = installRoot() + "/resources";
    std::error_code ignored;
    const bool isThere = fs::is_directory(fs::path(folder) / ("lib" + call.provider), ignored);
    m_findings.insert(isThere ? "no text for " + *text + " in the catalog lib" + call.provider +
                                    " in " + folder
                              : "no catalog lib" + call.provider + " in " + folder);
  }
}

}  // namespace fihost
