#ifndef FIRECORD_COMMANDLINE_H
#define FIRECORD_COMMANDLINE_H

#include <optional>
#include <string>
#include <vector>

namespace firecord {

// What the command line says; one of `to` and `from` is empty.
struct Settings {
  std::string to;
  std::string from;
  bool keepsTimes = false;
  std::vector<std::string> secrets;  // those of files and of the environment, too
  std::vector<std::string> words;    // the tool and its arguments; to play back, the arguments
};

// Reads the command line and the environment; FIRECORD_SECRETS is taken out of it. The exit status
// when there is nothing more to do. Throws Trouble.
std::optional<int> readCommandLine(int argc, char** argv, Settings& settings);

}  // namespace firecord

#endif
