#ifndef FIHOST_CHECK_SOURCE_H
#define FIHOST_CHECK_SOURCE_H

#include <filesystem>
#include <string>

#include "check/bench.h"

namespace fihost::check {

// The first node of the user as one that may be written to and restored: a file, or a folder, of
// which the first file is written to. The content is kept aside and put back at the end, whatever
// came of it.
class Source {
 public:
  // Throws Skipped where the user has not allowed it, and where there is no file.
  explicit Source(const Bench& bench);
  ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  const std::string& node() const { return m_node; }
  // Changes the content.
  void overwrite() const;
  void putBack() const;
  // Whether the content is that from the beginning; that after overwrite.
  bool isAsBefore() const;
  bool isOverwritten() const;

 private:
  const Bench& m_bench;
  std::string m_node;
  std::string m_file;  // that is written to
  std::filesystem::path m_copy;
  std::string m_content;
  mutable std::string m_overwritten;
};

}  // namespace fihost::check

#endif
