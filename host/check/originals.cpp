#include "check/originals.h"

#include <sys/stat.h>

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr int kLevels = 4;
constexpr std::size_t kMostEntries = 20000;

void collect(const fs::path& folder, std::set<std::string>& paths) {
  std::error_code failed;
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                         failed);
  while (!failed && entry != fs::recursive_directory_iterator()) {
    if (paths.size() >= kMostEntries) return;
    paths.insert(entry->path().string());
    if (entry.depth() + 1 >= kLevels) entry.disable_recursion_pending();
    entry.increment(failed);
  }
}

}  // namespace

std::set<std::string> surroundingsOf(const std::vector<std::string>& nodes) {
  std::set<std::string> paths;
  for (const std::string& node : nodes) {
    std::error_code ignored;
    if (fs::is_regular_file(node, ignored) || fs::is_directory(node, ignored)) {
      collect(fs::path(node).parent_path(), paths);
    }
  }
  return paths;
}

std::vector<std::string> newIn(const std::set<std::string>& after,
                               const std::set<std::string>& before) {
  std::vector<std::string> found;
  for (const std::string& path : after) {
    if (before.count(path) != 0) continue;
    const std::string parent = fs::path(path).parent_path().string();
    const bool isParentNew = after.count(parent) != 0 && before.count(parent) == 0;
    if (!isParentNew) found.push_back(path);
  }
  return found;
}

std::string markOf(const std::string& node) {
  struct stat status {};
  if (lstat(node.c_str(), &status) != 0) return "";
  std::string mark;
  for (const auto part : {static_cast<long>(status.st_size), static_cast<long>(status.st_ino),
                          static_cast<long>(status.st_mtim.tv_sec), status.st_mtim.tv_nsec,
                          static_cast<long>(status.st_mode), static_cast<long>(status.st_uid),
                          static_cast<long>(status.st_gid)}) {
    mark += std::to_string(part) + " ";
  }
  return mark;
}

Originals::Originals(const Bench& bench) : m_bench(bench) {
  for (const std::string& node : bench.options().nodes) {
    m_marks[node] = markOf(node);
    m_contents[node] = contentOf(node);
  }
}

std::vector<std::string> Originals::touched() {
  std::vector<std::string> nodes;
  for (auto& [node, mark] : m_marks) {
    std::string now = markOf(node);
    if (now == mark) continue;
    if (!m_bench.options().isDestructive) nodes.push_back(node);
    mark = std::move(now);
  }
  return nodes;
}

std::vector<std::string> Originals::changed() const {
  std::vector<std::string> nodes;
  for (const auto& [node, content] : m_contents) {
    if (contentOf(node) != content) nodes.push_back(node);
  }
  return nodes;
}

std::string Originals::contentOf(const std::string& node) const {
  try {
    return m_bench.content(node);
  } catch (const Skipped&) {
    return "not known";
  } catch (const Broken& broken) {
    return broken.what;
  }
}

}  // namespace fihost::check
