#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/exitstatus.h"

namespace fihost {

namespace {

constexpr int kImportFlags = 0x1;
constexpr int kDeportFlags = 0x20;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string defaultStateFolder() {
  const std::string stateHome = environment("XDG_STATE_HOME");
  if (!stateHome.empty()) return stateHome + "/fihost";
  return environment("HOME") + "/.local/state/fihost";
}

// The command line as it is declared; holds what CLI11 fills in.
class CommandLine {
 public:
  CommandLine() {
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.add_option("--state", m_options.stateFolder,
                     "Folder of the host's own state (default: $XDG_STATE_HOME/fihost)");
    m_app.add_flag("--json", m_options.json, "Answer with one JSON document on standard output");
    declareVerbs();
  }

  Options read(int argc, const char* const* argv) {
    m_app.parse(argc, argv);
    m_options.verb = m_app.get_subcommands().front()->get_name();
    if (m_options.stateFolder.empty()) m_options.stateFolder = defaultStateFolder();
    for (const std::string& text : m_settings) m_options.settings.push_back(splitSetting(text));
    checkObjects();
    return m_options;
  }

  int complain(const CLI::Error& error) { return m_app.exit(error) == 0 ? kDone : kWrongUse; }

 private:
  void declareVerbs() {
    CLI::App* probe = verb("probe", "Show what a plug-in is and which nodes it claims", true);
    objects(probe, "NODE", "Nodes to offer", 0, -1);
    CLI::App* params = verb("params", "Show the parameters of a node", true);
    objects(params, "NODE", "The node", 1, 1);
    params->add_flag("--xml", m_options.xml, "The document as the provider gave it");
    CLI::App* snapshot = verb("snapshot", "Take snapshots of nodes", true);
    objects(snapshot, "NODE", "Nodes, all in one session", 1, -1);
    snapshot
        ->add_option("--set", m_settings,
                     "KEY=VALUE of a parameter; given again for one key: a list of values")
        ->allow_extra_args(false);
    snapshot->add_option("--params", m_options.parameterFile, "File with a ConfigValueList");
    verb("list", "List the snapshots that this host knows", false);
    CLI::App* status = verb("status", "Ask the provider for the state of snapshots", false);
    objects(status, "SNAPSHOT", "Snapshots (default: all)", 0, -1);
    CLI::App* restore = verb("restore", "Put the content of a snapshot back", false);
    objects(restore, "SNAPSHOT", "The snapshot", 1, 1);
    CLI::App* dispose = verb("dispose", "Remove a snapshot", false);
    objects(dispose, "SNAPSHOT", "The snapshot", 1, 1);
    declareArrayVerbs();
  }

  void declareArrayVerbs() {
    CLI::App* interpose = verb("interpose", "Offer nodes to be interposed and claimed", true);
    objects(interpose, "NODE", "Nodes to offer", 1, -1);
    resources(verb("import", "Make resources visible on a host", true), kImportFlags,
              "0x1 import, 0x2 import read-only");
    resources(verb("deport", "Withdraw resources from a host", true), kDeportFlags,
              "0x20 withdraw, 0x10 withdraw a read-only import");
    CLI::App* access = verb("access", "Switch access to nodes off and on", true);
    access->add_option("ACTION", m_options.action, "disable or enable")
        ->required()
        ->check(CLI::IsMember({"disable", "enable"}));
    objects(access, "NODE", "Nodes", 1, -1);
  }

  // The default of the flags depends on the verb, so it is set when the verb is chosen.
  void resources(CLI::App* sub, int flags, const char* meaning) {
    objects(sub, "RESOURCE", "Device identifiers", 1, -1);
    sub->add_option("--host", m_options.host, "Name of the host");
    auto* option = sub->add_option("--flags", m_options.flags, meaning);
    sub->callback([this, option, flags] {
      if (option->count() == 0) m_options.flags = flags;
    });
  }

  CLI::App* verb(const char* name, const char* description, bool needsPlugin) {
    CLI::App* sub = m_app.add_subcommand(name, description);
    sub->add_option("--plugin", m_options.plugin,
                    needsPlugin ? "Plug-in: a path, or a name in the plug-in folder"
                                : "Plug-in (default: the one that took the snapshot)")
        ->required(needsPlugin);
    return sub;
  }

  void objects(CLI::App* sub, const char* name, const char* description, int least, int most) {
    CLI::Option* option = sub->add_option(name, m_options.objects, description);
    option->required(least > 0);
    if (most > 0) option->expected(least, most);
  }

  static std::pair<std::string, std::string> splitSetting(const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
      throw CLI::ValidationError("--set", "expected KEY=VALUE, got \"" + text + "\"");
    }
    return {text.substr(0, sign), text.substr(sign + 1)};
  }

  void checkObjects() const {
    std::set<std::string> seen;
    for (const std::string& object : m_options.objects) {
      if (object.empty()) throw CLI::ValidationError(m_options.verb, "empty name");
      if (!seen.insert(object).second) {
        throw CLI::ValidationError(m_options.verb, "\"" + object + "\" given twice");
      }
    }
  }

  CLI::App m_app{"Drives snapshot provider plug-ins", "fihost"};
  Options m_options;
  std::vector<std::string> m_settings;
};

bool wantsJson(int argc, const char* const* argv) {
  return std::any_of(argv, argv + argc,
                     [](const char* word) { return std::strcmp(word, "--json") == 0; });
}

}  // namespace

Parsed parseCommandLine(int argc, const char* const* argv) {
  CommandLine commandLine;
  try {
    return {true, kDone, commandLine.read(argc, argv)};
  } catch (const CLI::ParseError& error) {
    const int exit = commandLine.complain(error);
    if (exit != kDone && wantsJson(argc, argv)) {
      const nlohmann::ordered_json document{{"exit", exit}, {"error", error.what()}};
      std::cout << document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    }
    return {false, exit, {}};
  }
}

}  // namespace fihost
