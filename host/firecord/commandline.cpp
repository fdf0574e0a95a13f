#include "commandline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string_view>

#include "cli/exitstatus.h"
#include "files/inputfile.h"
#include "trouble.h"

namespace firecord {

namespace {

constexpr char kDescription[] =
    "Stands in for a command-line tool.\n\n"
    "firecord --to FILE -- TOOL ARG...   runs the tool and records the call\n"
    "firecord --from FILE -- ARG...      plays the next recorded call back\n\n"
    "The exit status is the tool's, 128 and the signal's number for one that a signal ended; 124: "
    "the call\nwas not recorded, 125: firecord itself failed, 126: the tool cannot be run, 127: "
    "there is no such tool.";

constexpr char kEnvironment[] = "FIRECORD_SECRETS";

void addLines(const std::string& text, std::vector<std::string>& words) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) words.push_back(line);
}

void readSecrets(const std::vector<std::string>& files, std::vector<std::string>& secrets) {
  for (const std::string& file : files) {
    try {
      addLines(fihost::readInput(file), secrets);
    } catch (const fihost::Problem& problem) {
      throw Trouble{kTroubled, problem.text};
    }
  }
  if (const char* lines = std::getenv(kEnvironment)) addLines(lines, secrets);
  unsetenv(kEnvironment);  // the tool would not have it without this program
}

void requireSense(const Settings& settings) {
  const auto refuse = [](const char* why) { throw Trouble{kTroubled, why}; };
  if (settings.to.empty() == settings.from.empty()) refuse("give one of --to and --from");
  if (settings.keepsTimes && settings.from.empty()) refuse("--times goes with --from");
  if (!settings.to.empty() && settings.words.empty()) refuse("give the tool that is to be run");
}

// How many words are the program's own: options and their values, before "--" or any other word.
int ownWords(const CLI::App& app, int argc, char** argv) {
  int own = 1;
  while (own < argc) {
    const std::string word = argv[own];
    const std::size_t sign = word.find('=');
    const bool isOption = word.starts_with('-') && word != "--";
    const CLI::Option* option = isOption ? app.get_option_no_throw(word.substr(0, sign)) : nullptr;
    if (option == nullptr) break;
    own += option->get_items_expected_min() > 0 && sign == std::string::npos ? 2 : 1;
  }
  return std::min(own, argc);
}

}  // namespace

std::optional<int> readCommandLine(int argc, char** argv, Settings& settings) {
  CLI::App app{kDescription, "firecord"};
  std::vector<std::string> files;
  app.set_version_flag("--version", "firecord " FIRECORD_VERSION, "Print the version");
  app.add_option("--to", settings.to, "FILE that gets the call");
  app.add_option("--from", settings.from, "FILE whose calls are played back, in order");
  app.add_flag("--times", settings.keepsTimes, "Play back as slowly as it was recorded");
  app.add_option("--secret", settings.secrets, "WORD that is recorded as ***")
      ->allow_extra_args(false);
  app.add_option("--secret-file", files, "FILE of such words, one a line (also $FIRECORD_SECRETS)")
      ->allow_extra_args(false);
  const int own = ownWords(app, argc, argv);
  try {
    app.parse(own, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) throw Trouble{kTroubled, error.what()};
    app.exit(error);
    return std::cout.flush() ? 0 : kTroubled;
  }
  const bool isMarked = own < argc && std::string_view(argv[own]) == "--";
  settings.words.assign(argv + own + (isMarked ? 1 : 0), argv + argc);
  requireSense(settings);
  readSecrets(files, settings.secrets);
  return std::nullopt;
}

}  // namespace firecord
