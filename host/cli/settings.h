#ifndef FIHOST_CLI_SETTINGS_H
#define FIHOST_CLI_SETTINGS_H

#include <string>

namespace fihost {

// What the command line says for every verb.
struct Settings {
  std::string stateFolder;
  bool json = false;
  int timeout = 0;  // seconds for each thing that is called of a plug-in; 0: any
};

}  // namespace fihost

#endif
