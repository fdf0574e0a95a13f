#ifndef ARRAYSNAP_ARRAYTOOL_H
#define ARRAYSNAP_ARRAYTOOL_H

#include <cfitracelog.h>

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

// Two lines of login in a file that has no name and is gone with this object. Only this process and
// the programs it starts can open it.
class LoginFile {
 public:
  LoginFile(const std::string& user, const std::string& password);
  ~LoginFile();
  LoginFile(const LoginFile&) = delete;
  LoginFile& operator=(const LoginFile&) = delete;

  // Good for opening in this process and in a child before it becomes another program.
  std::string path() const;

 private:
  int m_fd;
};

// Runs the array's command-line tool. The login goes through the tool's standard input: never into
// arguments, environment, traces or messages.
class ArrayTool {
 public:
  ArrayTool(const orca_pdk::CFiTraceLogPtr& log, const Settings& settings,
            const orca_pdk::SFiCredential& login);

  // Runs a command to its end. Throws Failure, which quotes command, end and last line, unless it
  // succeeded.
  Reply run(const std::vector<std::string>& words) const;
  const Settings& settings() const { return m_settings; }

 private:
  std::string commandOf(const std::vector<std::string>& words) const;
  std::string quotable(const std::vector<std::string>& lines) const;
  Reply replyOf(const std::string& command, const std::vector<std::string>& lines) const;

  orca_pdk::CFiTraceLogPtr m_log;
  Settings m_settings;
  std::string m_password;
  LoginFile m_login;
};

// The tool as the configuration file says. Throws Failure when there is no login.
ArrayTool openArray(const orca_pdk::CFiTraceLogPtr& log);

}  // namespace arraysnap

#endif
