#ifndef FIHOST_CHECK_RUNNER_H
#define FIHOST_CHECK_RUNNER_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "check/bench.h"
#include "check/originals.h"

namespace fihost::check {

// What came of a requirement.
struct Result {
  Requirement requirement;
  Outcome outcome;
  double milliseconds = 0;
  std::vector<std::string> left;  // paths and snapshots that are still there, and nobody's
};

// Tries requirements one after the other, each in a process and a folder of its own.
class Runner {
 public:
  // Throws a Problem where no folder can be made.
  explicit Runner(const Options& options);
  ~Runner();
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  // Hands each result on as it comes.
  void run(const std::vector<Requirement>& requirements,
           const std::function<void(const Result&)>& tell);
  // What happened to the nodes of the user that must not happen, a sentence each.
  std::vector<std::string> findings() const;

 private:
  Result tryOne(const Requirement& requirement);
  std::vector<std::string> disposeOfTaken(const std::filesystem::path& folder) const;

  const Options& m_options;
  std::filesystem::path m_folder;
  Bench m_bench;
  Originals m_originals;
  bool m_isLoadable = true;
  std::vector<std::string> m_findings;
};

// The results as a document that build servers read.
std::string junit(const std::vector<Result>& results);

}  // namespace fihost::check

#endif
