#ifndef FIHOST_CLI_OPTIONS_H
#define FIHOST_CLI_OPTIONS_H

#include <string>
#include <utility>
#include <vector>

namespace fihost {

// The command line, read.
struct Options {
  std::string verb;
  std::string stateFolder;
  bool json = false;
  std::string plugin;                // path or bare name; may be empty where the state knows it
  std::vector<std::string> objects;  // nodes, snapshots or resources, in the order given
  bool xml = false;                  // params: the document as it came
  std::vector<std::pair<std::string, std::string>> settings;  // snapshot: --set, in order
  std::string parameterFile;                                  // snapshot: --params
  std::string host;    // import, deport: the host's name; empty: none
  int flags = 0;       // import, deport: flags of the operation
  std::string action;  // access: "disable" or "enable"
};

// What came of reading: go on with the options, or end with the status.
struct Parsed {
  bool goOn = false;
  int exit = 0;
  Options options;
};

// Reads the command line; help and complaints are printed here.
Parsed parseCommandLine(int argc, const char* const* argv);

}  // namespace fihost

#endif
