#ifndef FIHOST_CHECK_ORIGINALS_H
#define FIHOST_CHECK_ORIGINALS_H

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "check/bench.h"

namespace fihost::check {

// All paths in the folders in which nodes lie that are files or folders, as far as a few levels and
// 20,000 entries go.
std::set<std::string> surroundingsOf(const std::vector<std::string>& nodes);

// What of `after` is not in `before`, without what lies in a folder that is itself new.
std::vector<std::string> newIn(const std::set<std::string>& after,
                               const std::set<std::string>& before);

// Size, times, mode and owner of a node that is a file, as a text to compare; empty for others.
std::string markOf(const std::string& node);

// Watches over the nodes of the user, which the check must leave as they are.
class Originals {
 public:
  explicit Originals(const Bench& bench);

  // The nodes whose size, times, mode or owner changed since the last look; those of which the
  // content may have been restored are not looked at so.
  std::vector<std::string> touched();
  // The nodes whose content is not what it was at first.
  std::vector<std::string> changed() const;

 private:
  std::string contentOf(const std::string& node) const;

  const Bench& m_bench;
  std::map<std::string, std::string> m_marks;
  std::map<std::string, std::string> m_contents;
};

}  // namespace fihost::check

#endif
