#ifndef FIHOST_CLI_SETTINGS_H
#define FIHOST_CLI_SETTINGS_H

#include <string>

namespace fihost {

// What the command line says for every verb.
struct Settings {
  std::string stateFolder;  // empty where nothing names one
  bool json = false;
  bool isLenient = false;  // findings leave the exit status at 0
  bool isTraced = false;   // each call is printed on standard error
  std::string record;      // session file to write; empty: none
  int timeout = 0;         // seconds for each thing that is called of a plug-in; 0: any
};

}  // namespace fihost

#endif
