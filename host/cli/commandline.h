#ifndef FIHOST_CLI_COMMANDLINE_H
#define FIHOST_CLI_COMMANDLINE_H

#include <memory>
#include <optional>
#include <vector>

#include "cli/exitstatus.h"
#include "cli/verb.h"

namespace fihost {

// The command line: the settings, and the verb with its options.
class CommandLine {
 public:
  CommandLine();
  ~CommandLine();

  // Reads it. Nothing when there is a verb to run, else the exit status: help and complaints are
  // printed here.
  std::optional<Exit> read(int argc, const char* const* argv);

  const Settings& settings() const { return m_settings; }
  // The verb; call after read.
  Verb& verb() { return *m_chosen; }

 private:
  class Declared;

  std::vector<std::unique_ptr<Verb>> m_verbs;
  Settings m_settings;
  std::unique_ptr<Declared> m_declared;
  Verb* m_chosen = nullptr;
};

}  // namespace fihost

#endif
