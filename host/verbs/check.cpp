#include <algorithm>
#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <random>

#include "check/runner.h"
#include "cli/text.h"
#include "cli/verb.h"
#include "framework/parameters.h"

namespace fihost {

namespace {

using check::Outcome;
using check::Requirement;
using check::Result;

constexpr int kDefaultTimeout = 60;
constexpr int kDefaultKills = 20;

const char* wordFor(Outcome::Kind kind) {
  static constexpr const char* kWords[] = {"passed", "failed", "skipped"};
  return kWords[kind];
}

Json toJson(const Requirement& requirement) {
  return {
      {"id", requirement.id}, {"sentence", requirement.sentence}, {"reason", requirement.reason}};
}

Json toJson(const Result& result) {
  return {{"id", result.requirement.id},
          {"sentence", result.requirement.sentence},
          {"outcome", wordFor(result.outcome.kind)},
          {"text", result.outcome.text},
          {"left_over", result.left},
          {"milliseconds", result.milliseconds}};
}

std::string lineOf(const Result& result) {
  const std::string id = result.requirement.id;
  const std::string text = printable(result.outcome.text);
  switch (result.outcome.kind) {
    case Outcome::Passed:
      return "passed   " + id + (text.empty() ? "" : " (" + text + ")");
    case Outcome::Skipped:
      return "skipped  " + id + " (" + text + ")";
    default:
      return "FAILED   " + id + ": " + text;
  }
}

// Whether one of the words is the id or its group; no words stand for all.
bool isWanted(const Requirement& requirement, const std::vector<std::string>& words) {
  const std::string id = requirement.id;
  return words.empty() || std::any_of(words.begin(), words.end(), [&](const std::string& word) {
           return word == id || word == id.substr(0, id.find('.'));
         });
}

class Check : public Verb {
 public:
  const char* name() const override { return "check"; }
  const char* help() const override { return "Prove that a provider keeps to the requirements"; }

  void declare(VerbOptions& options) override {
    options.text("--plugin", "Plug-in: a path, or a name in the plug-in folder", m_plugin);
    options.nodes("Nodes to work with; they stay as they are", 0, -1, m_options.nodes);
    options.keyValues("--set", "KEY=VALUE of a parameter that snapshots need", m_values);
    options.words("--only", "IDs or groups of requirements (default: all)", m_only);
    options.text("--seed", "Number that random choices follow from (default: a new one)", m_seed);
    options.flag("--destructive", "Restore the nodes, too", m_options.isDestructive);
    options.number("--kills", "Moments at which each operation is killed (default: 20)",
                   m_options.kills);
    options.text("--content", "Command that prints the content of the node or snapshot $1",
                 m_options.content);
    options.text("--junit", "File for the results in the format of build servers", m_junit);
    options.flag("--list", "Only list the requirements", m_list);
  }
  bool showsOperations() const override { return false; }

  void run(Context& context) override {
    const std::vector<Requirement> requirements = wanted();
    Json& answer = context.report.answer();
    answer["requirements"] = Json::array();
    if (m_list) {
      for (const Requirement& requirement : requirements) {
        answer["requirements"].push_back(toJson(requirement));
      }
      return;
    }
    settle(context.settings);
    answer["seed"] = m_options.seed;
    check::Runner runner(m_options);
    std::vector<Result> results;
    runner.run(requirements, [&](const Result& result) {
      results.push_back(result);
      answer["requirements"].push_back(toJson(result));
      if (!context.settings.json) std::cout << lineOf(result) << std::endl;
    });
    for (const std::string& text : runner.findings()) context.report.finding(text);
    if (!m_junit.empty()) write(junit(results));
    complain(context.report, results);
  }

  std::string text(const Json& answer) const override {
    std::string text;
    std::map<std::string, int> counts;
    for (const Json& row : rowsOf(answer, "requirements")) {
      if (m_list) {
        text += std::string(row["id"]) + "  " + std::string(row["sentence"]) + "\n";
        continue;
      }
      ++counts[row["outcome"]];
      for (const Json& left : row["left_over"]) {
        text += "left over by " + std::string(row["id"]) + ": " + printable(left) + "\n";
      }
    }
    if (m_list || counts.empty()) return text;
    return text + std::to_string(counts["passed"]) + " passed, " +
           std::to_string(counts["failed"]) + " failed, " + std::to_string(counts["skipped"]) +
           " skipped; --seed " + answer["seed"].dump() + "\n";
  }

 private:
  std::vector<Requirement> wanted() const {
    std::vector<Requirement> requirements;
    const std::vector<Requirement> all = check::allRequirements();
    for (const std::string& word : m_only) {
      if (std::none_of(all.begin(), all.end(), [&](auto& one) { return isWanted(one, {word}); })) {
        throw Problem{kWrongUse, "there is no requirement " + word + "; --list names them"};
      }
    }
    std::copy_if(all.begin(), all.end(), std::back_inserter(requirements),
                 [&](const Requirement& requirement) { return isWanted(requirement, m_only); });
    return requirements;
  }

  // Each requirement works in a folder of its own: what the user named must be found from there.
  void settle(const Settings& settings) {
    if (m_plugin.empty()) throw Problem{kWrongUse, "--plugin is required"};
    m_options.plugin = m_plugin.find('/') == std::string::npos
                           ? m_plugin
                           : std::filesystem::absolute(m_plugin).string();
    m_options.values = wantedValues("", m_values);
    m_options.timeout = settings.timeout > 0 ? settings.timeout : kDefaultTimeout;
    if (m_options.kills < 1) throw Problem{kWrongUse, "--kills is less than 1"};
    m_options.seed = m_seed.empty() ? std::random_device()() : seedOf(m_seed);
  }

  static std::uint64_t seedOf(const std::string& text) {
    std::uint64_t seed = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, seed);
    if (error != std::errc() || rest != end) {
      throw Problem{kWrongUse, "--seed is no number: " + text};
    }
    return seed;
  }

  void write(const std::string& document) const {
    std::ofstream out(m_junit);
    if (!(out << document << std::flush)) throw Problem{kWrongUse, "cannot write " + m_junit};
  }

  static void complain(Report& report, const std::vector<Result>& results) {
    std::string ids;
    for (const Result& result : results) {
      if (result.outcome.kind != Outcome::Failed) continue;
      ids += (ids.empty() ? "" : ", ") + std::string(result.requirement.id);
    }
    if (!ids.empty()) report.error(kRefused, "requirements that do not hold: " + ids);
  }

  check::Options m_options{
      .plugin = {}, .nodes = {}, .values = {}, .kills = kDefaultKills, .content = {}};
  std::string m_plugin;
  std::vector<std::pair<std::string, std::string>> m_values;
  std::vector<std::string> m_only;
  std::string m_seed;
  std::string m_junit;
  bool m_list = false;
};

}  // namespace

std::unique_ptr<Verb> make_check() { return std::make_unique<Check>(); }

}  // namespace fihost
