#include "cli/verboptions.h"

#include <CLI/CLI.hpp>
#include <set>

#include "cli/exitstatus.h"
#include "cli/names.h"

namespace fihost {

namespace {

std::pair<std::string, std::string> splitSetting(const char* option, const std::string& text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0) {
    throw CLI::ValidationError(option, "expected KEY=VALUE, got \"" + text + "\"");
  }
  return {text.substr(0, sign), text.substr(sign + 1)};
}

// The absolute name of a node; a complaint where there is none.
std::string pathOf(const CLI::App& app, const std::string& name) {
  try {
    return absoluteName(name);
  } catch (const Problem& problem) {
    throw CLI::ValidationError(app.get_name(), problem.text);
  }
}

}  // namespace

void VerbOptions::plugin(std::string& target) {
  m_app.add_option("--plugin", target, "Plug-in: a path, or a name in the plug-in folder")
      ->required();
}

void VerbOptions::pluginOfSnapshots(std::string& target) {
  m_app.add_option("--plugin", target, "Plug-in (default: the one that took the snapshot)");
}

void VerbOptions::pluginOfSession(std::string& target) {
  m_app.add_option("--plugin", target, "Plug-in (default: the one that the file names)");
}

void VerbOptions::names(const char* name, const char* help, int least, int most,
                        std::vector<std::string>& target) {
  CLI::Option* option = m_app.add_option(name, target, help);
  option->required(least > 0);
  if (most > 0) option->expected(least, most);
  m_names.push_back({&target, false});
}

void VerbOptions::nodes(const char* help, int least, int most, std::vector<std::string>& target) {
  names("NODE", help, least, most, target);
  m_names.back().areNodes = true;
}

void VerbOptions::flag(const char* name, const char* help, bool& target) {
  m_app.add_flag(name, target, help);
}

void VerbOptions::text(const char* name, const char* help, std::string& target) {
  m_app.add_option(name, target, help);
}

void VerbOptions::number(const char* name, const char* help, int& target) {
  m_app.add_option(name, target, help);
}

void VerbOptions::words(const char* name, const char* help, std::vector<std::string>& target) {
  m_app.add_option(name, target, help)->allow_extra_args(false)->delimiter(',');
}

void VerbOptions::choice(const char* name, const char* help, const std::vector<std::string>& words,
                         std::string& target) {
  m_app.add_option(name, target, help)->required()->check(CLI::IsMember(words));
}

void VerbOptions::keyValues(const char* name, const char* help,
                            std::vector<std::pair<std::string, std::string>>& target) {
  const auto read = [name, &target](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) target.push_back(splitSetting(name, text));
  };
  m_app.add_option_function<std::vector<std::string>>(name, read, help)->allow_extra_args(false);
}

void VerbOptions::check() const {
  for (const auto& [names, areNodes] : m_names) {
    std::set<std::string> seen;
    for (std::string& name : *names) {
      if (name.empty()) throw CLI::ValidationError(m_app.get_name(), "empty name");
      if (areNodes) name = pathOf(m_app, name);
      if (!seen.insert(name).second) {
        throw CLI::ValidationError(m_app.get_name(), "\"" + name + "\" given twice");
      }
    }
  }
}

}  // namespace fihost
