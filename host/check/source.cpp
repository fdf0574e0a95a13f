#include "check/source.h"

#include <algorithm>
#include <fstream>
#include <set>

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBlock = 65536;

// Writes one file into another one, which stays the same file.
void writeInto(const fs::path& from, const fs::path& to) {
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary | std::ios::trunc);
  if (fs::file_size(from) > 0) out << in.rdbuf();
  require(static_cast<bool>(out << std::flush), to.string() + " cannot be written");
}

// The file of a node: itself, or the first one in a folder. Throws Skipped where there is none.
std::string fileOf(const fs::path& node) {
  if (fs::is_regular_file(node)) return node;
  std::set<std::string> files;
  std::error_code ignored;
  for (const auto& entry : fs::recursive_directory_iterator(node, ignored)) {
    if (entry.is_regular_file() && !entry.is_symlink()) files.insert(entry.path());
  }
  if (files.empty()) throw Skipped{node.string() + " has no file that could be written to"};
  return *files.begin();
}

}  // namespace

Source::Source(const Bench& bench)
    : m_bench(bench), m_node(bench.node()), m_copy(bench.folder() / "source") {
  if (!bench.options().isDestructive) throw Skipped{"it takes --destructive"};
  m_file = fileOf(m_node);
  m_content = bench.content(m_node);
  writeInto(m_file, m_copy);
}

Source::~Source() {
  try {
    if (!isAsBefore()) putBack();
  } catch (const Broken&) {
    return;  // the run itself finds that the node has changed
  }
}

void Source::overwrite() const {
  std::fstream file(m_file, std::ios::binary | std::ios::in | std::ios::out);
  std::string block(kBlock, '\0');
  file.read(block.data(), static_cast<std::streamsize>(block.size()));
  block.resize(static_cast<std::size_t>(file.gcount()));
  std::transform(block.begin(), block.end(), block.begin(),
                 [](char c) { return static_cast<char>(~c); });
  file.clear();
  file.seekp(0);
  require(static_cast<bool>(file << block << "more" << std::flush), m_file + " cannot be written");
  m_overwritten = m_bench.content(m_node);
}

void Source::putBack() const { writeInto(m_copy, m_file); }

bool Source::isAsBefore() const { return m_bench.content(m_node) == m_content; }

bool Source::isOverwritten() const { return m_bench.content(m_node) == m_overwritten; }

}  // namespace fihost::check
