// firecord: records the calls of a command-line tool, and plays them back.
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <exception>
#include <string>

#include "commandline.h"
#include "output.h"
#include "playback.h"
#include "recording.h"
#include "relay.h"
#include "secrets.h"
#include "tool.h"

namespace firecord {

namespace {

std::string timeNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

// Whether standard output and standard error are one, so that their order can be seen.
bool isOutputJoined() {
  struct stat output {};
  struct stat errors {};
  return fstat(STDOUT_FILENO, &output) == 0 && fstat(STDERR_FILENO, &errors) == 0 &&
         output.st_dev == errors.st_dev && output.st_ino == errors.st_ino;
}

// Runs the tool to its end. Throws Trouble; returns why the call cannot be recorded, or nothing.
std::string run(const std::vector<std::string>& words, Call& call) {
  const auto start = std::chrono::steady_clock::now();
  call.time = timeNow();
  call.tool = words[0];
  call.arguments.assign(words.begin() + 1, words.end());
  Tool tool(words, isOutputJoined());
  Relay relay(start);
  relay.add(std::move(tool.output), STDOUT_FILENO, false);
  relay.add(std::move(tool.errors), STDERR_FILENO, true);
  relay.run();
  tool.wait(call);
  const auto passed = std::chrono::steady_clock::now() - start;
  call.milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
  call.output = std::move(relay.kept());
  return relay.trouble();
}

// How a tool ended whose call is not recorded.
std::string unrecorded(const Call& call, const std::string& why) {
  const std::string how = call.signal == 0 ? "with status " + std::to_string(call.status)
                                           : "by signal " + std::to_string(call.signal);
  return "the tool ended " + how + ", but its call is not recorded: " + why;
}

int record(const Settings& settings) {
  const RecordingFile file(settings.to);
  Call call;
  std::string trouble = run(settings.words, call);
  try {
    Secrets(settings.secrets).hide(call);
    if (trouble.empty()) file.append(call);
  } catch (const Trouble& found) {
    trouble = found.text;
  } catch (const std::exception& error) {
    trouble = error.what();
  }
  if (!trouble.empty()) throw Trouble{kTroubled, unrecorded(call, trouble)};
  return call.exitStatus();
}

int play(const Settings& settings) {
  std::vector<std::string> arguments = settings.words;
  Secrets(settings.secrets).hide(arguments);
  return playNext(settings.from, arguments, settings.keepsTimes);
}

int complain(int exit, const std::string& text) {
  writeAll(STDERR_FILENO, "firecord: " + text + "\n");
  return exit;
}

int work(int argc, char** argv) {
  Settings settings;
  if (const auto ended = readCommandLine(argc, argv, settings)) return *ended;
  return settings.to.empty() ? play(settings) : record(settings);
}

}  // namespace

}  // namespace firecord

int main(int argc, char** argv) {
  using namespace firecord;
  openStandardDescriptors();
  surviveClosedPipes();
  try {
    return work(argc, argv);
  } catch (const Trouble& trouble) {
    return complain(trouble.exit, trouble.text);
  } catch (const std::exception& error) {
    return complain(kTroubled, error.what());
  }
}
