#ifndef ARRAYSNAP_ARRAYTOOL_H
#define ARRAYSNAP_ARRAYTOOL_H

#include <cficommand.h>

#include <string>
#include <utility>
#include <vector>

#include "settings.h"

namespace arraysnap {

// What a command answered: key=value lines in their order. A key may come more than once.
struct Reply {
  std::string command;
  std::vector<std::pair<std::string, std::string>> lines;

  // The first value of a key; null when it is missing.
  const std::string* find(const std::string& key) const;
  // The same. Throws Failure when it is missing.
  const std::string& at(const std::string& key) const;
};

// Runs the array's command-line tool. The login goes through the tool's standard input: never into
// arguments, environment, traces or messages.
class ArrayTool {
 public:
  // The tool as the configuration file says. Throws Failure when there is no login.
  explicit ArrayTool(const orca_pdk::CFiTraceLogPtr& log);

  // Runs a command to its end. Throws Failure, which quotes command, end and last line, unless it
  // succeeded.
  Reply run(const std::vector<std::string>& words) const;
  const orca_pdk::CFiTraceLogPtr& log() const { return m_log; }
  const Settings& settings() const { return m_settings; }

 private:
  Reply replyOf(const std::string& command, const orca_pdk::SFiCommandEnd& end) const;

  orca_pdk::CFiTraceLogPtr m_log;
  Settings m_settings;
  std::string m_user;
  std::string m_password;
};

}  // namespace arraysnap

#endif
