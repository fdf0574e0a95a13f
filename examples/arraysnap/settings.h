#ifndef ARRAYSNAP_SETTINGS_H
#define ARRAYSNAP_SETTINGS_H

#include <cficonfiguration.h>
#include <cfiplugininterposer.h>

#include <map>
#include <optional>
#include <string>

namespace arraysnap {

// What the configuration file arraysnap_array.conf says; what is missing has its default.
struct Settings {
  std::string tool = "/usr/bin/fiarray";  // path of the array's command-line tool
  std::string state;                      // the array's folder; empty: the tool's environment
  std::string arrayHost;                  // whose login is used; empty: the first one
  unsigned timeout = 30;                  // seconds without a sign of life
  std::optional<unsigned> owner;          // of a mapped device, when both are given
  std::optional<unsigned> group;
  std::map<std::string, orca_pdk::SFiFimInfo> fims;  // by claim pattern
};

// The configuration file. It is the provider's own, apart from arraysnap.conf: that one belongs to
// the trace log, which rewrites it.
class ConfigurationFile {
 public:
  ConfigurationFile();
  // Throws Failure when the file is there but cannot be read.
  void requireReadable() const;

  Settings settings();
  // The login for an array. Throws Failure when neither the framework's credential text nor the
  // file's section CREDENTIALS has it.
  orca_pdk::SFiCredential login(const std::string& arrayHost);

 private:
  std::string m_path;
  int m_imported = 0;  // the result
  // Without a trace log: importing credentials traces them.
  orca_pdk::CFiConfiguration m_store;
};

}  // namespace arraysnap

#endif
