#include "cli/commandline.h"

#include <cfiproviderentry.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <sstream>

#include "cli/text.h"

namespace fihost {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// Empty where nothing names one; a path that is not absolute names none.
std::string defaultStateFolder() {
  const std::string stateHome = environment("XDG_STATE_HOME");
  if (stateHome.starts_with('/')) return stateHome + "/fihost";
  const std::string home = environment("HOME");
  return home.starts_with('/') ? home + "/.local/state/fihost" : "";
}

bool wantsJson(int argc, const char* const* argv) {
  return std::any_of(argv, argv + argc,
                     [](const char* word) { return std::strcmp(word, "--json") == 0; });
}

}  // namespace

// The options as they are declared.
class CommandLine::Declared {
 public:
  Declared(Settings& settings, const std::vector<std::unique_ptr<Verb>>& verbs) {
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.set_version_flag("--version",
                           "fihost " FIHOST_VERSION ", provider ABI " ORCA_PROVIDER_ABI,
                           "Print the version of the host and the provider ABI that it has");
    m_app.add_option("--state", settings.stateFolder,
                     "Folder of the host's own state (default: $XDG_STATE_HOME/fihost)");
    m_app.add_flag("--json", settings.json, "Answer with one JSON document on standard output");
    m_app.add_flag("--lenient", settings.isLenient, "Findings leave the exit status as it is");
    m_app
        .add_option("--timeout", settings.timeout,
                    "SECONDS after which an operation that did not come back ends the host")
        ->check(CLI::NonNegativeNumber);
    m_app.add_flag("--trace", settings.isTraced,
                   "Print each call on standard error, with its arguments and outputs");
    m_app.add_option("--record", settings.record,
                     "FILE that gets what is done to the provider, as a session for run");
    for (const auto& verb : verbs) {
      m_options.emplace_back(*m_app.add_subcommand(verb->name(), verb->help()));
      verb->declare(m_options.back());
    }
  }

  // Returns the name of the verb.
  std::string parse(int argc, const char* const* argv) {
    m_app.parse(argc, argv);
    for (const VerbOptions& options : m_options) options.check();
    return m_app.get_subcommands().front()->get_name();
  }

  Exit complain(const CLI::Error& error) {
    std::ostringstream complaint;
    const int status = m_app.exit(error, std::cout, complaint);
    std::istringstream lines(complaint.str());
    for (std::string line; std::getline(lines, line);) std::cerr << printable(line) << std::endl;
    return status == 0 ? kDone : kWrongUse;
  }

 private:
  CLI::App m_app{"Drives snapshot provider plug-ins", "fihost"};
  std::deque<VerbOptions> m_options;
};

CommandLine::CommandLine()
    : m_verbs(allVerbs()), m_declared(std::make_unique<Declared>(m_settings, m_verbs)) {}

CommandLine::~CommandLine() = default;

std::optional<Exit> CommandLine::read(int argc, const char* const* argv) {
  try {
    const std::string name = m_declared->parse(argc, argv);
    if (m_settings.stateFolder.empty()) m_settings.stateFolder = defaultStateFolder();
    for (const auto& verb : m_verbs) {
      if (verb->name() == name) m_chosen = verb.get();
    }
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    const Exit exit = m_declared->complain(error);
    if (exit != kDone && wantsJson(argc, argv)) {
      std::cout << toText(Json{{"exit", exit}, {"error", error.what()}});
    }
    return exit;
  }
}

}  // namespace fihost
