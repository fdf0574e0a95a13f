#include "check/runner.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string_view>

#include "cli/exitstatus.h"
#include "framework/installroot.h"

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr char kLoadRequirement[] = "load.entry";

fs::path temporaryFolder() {
  std::string path = (fs::temp_directory_path() / "fihost-check-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) throw Problem{kWrongUse, "cannot make the folder " + path};
  return path;
}

// An install root in the folder: the settings are copies, the catalogs those that are there.
void makeInstallRoot(const fs::path& folder) {
  std::error_code ignored;
  const fs::path from = installRoot();
  const fs::path to = folder / "root";
  const char* const settings = "lib/orca/configfiles";
  fs::create_directories(to / settings, ignored);
  fs::copy(from / settings, to / settings, fs::copy_options::recursive, ignored);
  fs::create_directory_symlink(fs::absolute(from / "resources"), to / "resources", ignored);
  setenv("ORCA_INSTALL_ROOT", to.c_str(), 1);
  prepareInstallRoot();
}

void redirect(const fs::path& file, int fd) {
  const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (opened < 0) return;
  dup2(opened, fd);
  close(opened);
}

std::string lastLineOf(const fs::path& file) {
  std::ifstream in(file);
  std::string last;
  for (std::string line; std::getline(in, line);) last = line;
  return last;
}

// Makes a process one for a single requirement.
void settleIn(const fs::path& folder) {
  fs::current_path(folder);
  redirect("stdout", STDOUT_FILENO);
  redirect("stderr", STDERR_FILENO);
  makeInstallRoot(folder);
}

}  // namespace

Runner::Runner(const Options& options)
    : m_options(options),
      m_folder(temporaryFolder()),
      m_bench(options, m_folder, options.seed),
      m_originals(m_bench) {
  prepareInstallRoot();
}

Runner::~Runner() {
  std::error_code ignored;
  fs::remove_all(m_folder, ignored);
}

void Runner::run(const std::vector<Requirement>& requirements,
                 const std::function<void(const Result&)>& tell) {
  for (const Requirement& requirement : requirements) {
    const Result result = tryOne(requirement);
    if (requirement.id == std::string_view(kLoadRequirement)) {
      m_isLoadable = result.outcome.kind == Outcome::Passed;
    }
    for (const std::string& node : m_originals.touched()) {
      m_findings.push_back(node + " was changed during " + requirement.id);
    }
    tell(result);
  }
}

std::vector<std::string> Runner::findings() const {
  std::vector<std::string> sentences = m_findings;
  for (const std::string& node : m_originals.changed()) {
    sentences.push_back(node + " does not have the content that it had before");
  }
  return sentences;
}

Result Runner::tryOne(const Requirement& requirement) {
  Result result{requirement, {}, 0, {}};
  if (!m_isLoadable) {
    result.outcome = {Outcome::Skipped, "the plug-in cannot be loaded"};
    return result;
  }
  const fs::path folder = m_folder / requirement.id;
  fs::create_directory(folder);
  const std::set<std::string> before = surroundingsOf(m_options.nodes);
  const auto start = std::chrono::steady_clock::now();
  const auto work = [&]() -> std::string {
    settleIn(folder);
    Bench bench(m_options, folder, m_options.seed ^ std::hash<std::string_view>()(requirement.id));
    requirement.test(bench);
    return "";
  };
  result.outcome = Apart(work).wait(std::chrono::seconds(m_options.timeout));
  result.milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  const std::string words = lastLineOf(folder / "stderr");
  if (result.outcome.kind == Outcome::Failed && !words.empty()) {
    result.outcome.text += "; on standard error: " + words;
  }
  result.left = disposeOfTaken(folder);
  for (const std::string& path : newIn(surroundingsOf(m_options.nodes), before)) {
    result.left.push_back(path);
  }
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  return result;
}

// Snapshots that a requirement could not dispose of must not stand in the way of the next one;
// returns those that stay.
std::vector<std::string> Runner::disposeOfTaken(const fs::path& folder) const {
  std::vector<std::string> left;
  for (const Taken& taken : Bench::takenIn(folder)) {
    const auto work = [&]() -> std::string {
      settleIn(folder);
      Bench bench(m_options, folder, 0);
      Life life(bench, {taken.node});
      life.begin();
      life.must(life.dispose(taken));
      return "";
    };
    const Outcome outcome = Apart(work).wait(std::chrono::seconds(m_options.timeout));
    if (outcome.kind != Outcome::Passed) left.push_back("snapshot " + taken.name);
  }
  return left;
}

}  // namespace fihost::check
