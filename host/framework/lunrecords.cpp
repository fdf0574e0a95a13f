#include "framework/lunrecords.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "framework/installroot.h"

namespace fihost {

namespace fs = std::filesystem;

namespace {

constexpr char kFolder[] = "lib/orca/cachefiles";
constexpr std::size_t kLongest = 1024;

std::string beginningOf(const fs::path& path) {
  std::string text(kLongest, '\0');
  std::ifstream in(path, std::ios::binary);
  in.read(text.data(), kLongest);
  text.resize(static_cast<std::size_t>(in.gcount()));
  return text;
}

}  // namespace

LunRecords::LunRecords() {
  try {
    readFolder();
  } catch (const fs::filesystem_error&) {
    m_isWhole = false;
  }
}

void LunRecords::readFolder() {
  const fs::path folder = fs::path(installRoot()) / kFolder;
  if (!fs::exists(folder)) return;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().string();
    if (path.find("/luns/") == path.npos || !entry.is_regular_file()) continue;
    m_values[path] = beginningOf(entry.path());
  }
}

std::string LunRecords::changes() const {
  const LunRecords now;
  std::string changes;
  const auto add = [&](const char* what, const std::string& path) {
    changes += (changes.empty() ? "" : "; ") + std::string(what) + path;
  };
  for (const auto& [path, value] : now.m_values) {
    const auto before = m_values.find(path);
    if (before == m_values.end() || before->second != value) add("LUN record written: ", path);
  }
  for (const auto& [path, value] : m_values) {
    if (now.m_values.count(path) == 0) add("LUN record removed: ", path);
  }
  const bool isKnown = m_isWhole && now.m_isWhole;
  return changes.empty() && isKnown ? "no LUN record was written" : changes;
}

}  // namespace fihost
