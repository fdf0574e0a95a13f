#include <locale.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "check/bench.h"
#include "cli/exitstatus.h"
#include "framework/operations.h"

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr int kTimes = 100;

using Facts = std::map<std::string, std::string>;

// Takes the provider through all that a framework does with it, as far as it comes.
void live(const Bench& bench) {
  const std::vector<std::string>& nodes = bench.options().nodes;
  Life life(bench, nodes.empty() ? nodes : std::vector{nodes.front()});
  try {
    if (nodes.empty()) {
      life.init();
    } else {
      life.status(life.snapshot());
    }
  } catch (const Broken&) {
    return;  // another requirement tells that
  } catch (const Skipped&) {
    return;
  }
}

// The facts must be the same before the plug-in is loaded and after it is unloaded.
void staysThrough(Bench& bench, Facts (*look)()) {
  const Facts before = look();
  live(bench);
  const Facts after = look();
  for (const auto& [key, value] : after) {
    const auto old = before.find(key);
    require(old != before.end(), std::string(key).append(" is new: ").append(value));
    std::string sentence = key + " was ";
    sentence.append(old->second).append(" and is ").append(value);
    require(old->second == value, sentence);
  }
  for (const auto& [key, value] : before) require(after.count(key) != 0, key + " is gone");
}

void loads(Bench& bench) { Life(bench, {}).init(); }

void loadsAgain(Bench& bench) {
  for (int i = 1; i <= kTimes; ++i) {
    try {
      const Plugin plugin(bench.options().plugin);
    } catch (const Problem& problem) {
      throw Broken{"time " + std::to_string(i) + ": " + problem.text};
    }
  }
}

void twoLiveSideBySide(Bench& bench) {
  const auto nodes = bench.options().nodes;
  auto first = std::make_unique<Life>(bench, nodes);
  Life second(bench, nodes);
  const std::string name = second.plugin().name();
  if (nodes.empty()) {
    first->init();
    second.init();
  } else {
    first->begin();
    second.begin();
  }
  first.reset();
  require(second.plugin().name() == name,
          "the name of the second became " + second.plugin().name());
  if (nodes.empty()) return;
  std::string document;
  second.must(ops::configGetParam(second.caller(), second.node(), second.session(), document));
}

Facts locales() {
  Facts facts;
  for (const auto& [category, name] : {std::pair(LC_ALL, "LC_ALL"), std::pair(LC_CTYPE, "LC_CTYPE"),
                                       std::pair(LC_NUMERIC, "LC_NUMERIC")}) {
    facts[name] = setlocale(category, nullptr);
  }
  return facts;
}

Facts workingFolder() { return {{"the working folder", fs::current_path().string()}}; }

Facts mask() {
  const mode_t now = umask(0);
  umask(now);
  char text[16];
  snprintf(text, sizeof text, "%04o", static_cast<unsigned>(now));
  return {{"the umask", text}};
}

Facts signalActions() {
  Facts facts;
  for (int number = 1; number < SIGRTMAX; ++number) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    const auto handler = reinterpret_cast<std::uintptr_t>(action.sa_handler);
    facts["the action of signal " + std::to_string(number)] =
        handler == 0 ? "default" : "handler " + std::to_string(handler);
  }
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int number = 1; number < SIGRTMAX; ++number) {
    facts["the block of signal " + std::to_string(number)] =
        std::to_string(sigismember(&blocked, number));
  }
  return facts;
}

Facts environment() {
  Facts facts;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    facts["the variable " + text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
  }
  return facts;
}

Facts descriptors() {
  Facts facts;
  std::vector<fs::path> links;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) links.push_back(entry.path());
  for (const fs::path& link : links) {
    std::error_code gone;  // the one that the folder was read with
    const fs::path target = fs::read_symlink(link, gone);
    if (!gone) facts["descriptor " + link.filename().string()] = target.string();
  }
  return facts;
}

Facts threads() {
  const auto count = std::distance(fs::directory_iterator("/proc/self/task"), {});
  return {{"the number of threads", std::to_string(count)}};
}

// The process writes its standard output into a file.
Facts output() {
  fflush(nullptr);
  struct stat status {};
  fstat(STDOUT_FILENO, &status);
  return {{"the size of standard output", std::to_string(status.st_size)}};
}

template <Facts (*look)()>
void keeps(Bench& bench) {
  staysThrough(bench, look);
}

constexpr Requirement kLoadRequirements[] = {
    {"load.entry", "The plug-in loads, is built for this ABI, makes a provider and initialises it.",
     "Without it nothing else can be called.", loads},
    {"load.again", "It can be loaded, made, destroyed and unloaded 100 times.",
     "A framework loads plug-ins for each job; what stays behind adds up.", loadsAgain},
    {"load.side_by_side", "Two providers live side by side, and one outlives the other.",
     "A framework may run two jobs at once; what is static is shared by both.", twoLiveSideBySide},
    {"load.locale", "The locale is afterwards as before.",
     "The process is the framework's: its numbers and texts would change.", keeps<locales>},
    {"load.folder", "The working folder is afterwards as before.",
     "Relative paths of everybody else would lead elsewhere.", keeps<workingFolder>},
    {"load.umask", "The umask is afterwards as before.",
     "Files of the framework would get other permissions.", keeps<mask>},
    {"load.signals", "Signal actions and blocked signals are afterwards as before.",
     "The framework's own handlers would be gone, or point into a library that is.",
     keeps<signalActions>},
    {"load.environment", "The environment is afterwards as before.",
     "Programs that the framework starts would behave otherwise.", keeps<environment>},
    {"load.descriptors", "The open descriptors are afterwards as before.",
     "A framework that runs for months would have none left.", keeps<descriptors>},
    {"load.threads", "The threads are afterwards as before.",
     "A thread of a library that is unloaded crashes the framework.", keeps<threads>},
    {"load.output", "Nothing is printed on standard output.",
     "It is the framework's, and may be read by a program.", keeps<output>},
};

}  // namespace

Requirements loadRequirements() { return kLoadRequirements; }

}  // namespace fihost::check
