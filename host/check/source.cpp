#include "check/source.h"

#include <algorithm>
#include <fstream>

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

}  // namespace

Source::Source(const Bench& bench)
    : m_bench(bench), m_node(bench.node()), m_copy(bench.folder() / "source") {
  if (!bench.options().isDestructive) throw Skipped{"it takes --destructive"};
  if (!fs::is_regular_file(m_node)) {
    throw Skipped{m_node + " is no file that could be written to and put back"};
  }
  m_content = bench.content(m_node);
  writeInto(m_node, m_copy);
}

Source::~Source() {
  try {
    if (!isAsBefore()) putBack();
  } catch (const Broken&) {
    return;  // the run itself finds that the node has changed
  }
}

void Source::overwrite() const {
  std::fstream file(m_node, std::ios::binary | std::ios::in | std::ios::out);
  std::string block(kBlock, '\0');
  file.read(block.data(), static_cast<std::streamsize>(block.size()));
  block.resize(static_cast<std::size_t>(file.gcount()));
  std::transform(block.begin(), block.end(), block.begin(),
                 [](char c) { return static_cast<char>(~c); });
  file.clear();
  file.seekp(0);
  require(static_cast<bool>(file << block << "more" << std::flush), m_node + " cannot be written");
  m_overwritten = m_bench.content(m_node);
}

void Source::putBack() const { writeInto(m_copy, m_node); }

bool Source::isAsBefore() const { return m_bench.content(m_node) == m_content; }

bool Source::isOverwritten() const { return m_bench.content(m_node) == m_overwritten; }

}  // namespace fihost::check
