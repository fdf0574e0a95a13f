#include <new>

#include "cfiexecpipe.h"
#include "support/short_memory.h"
#include "support/temp_dir.h"

namespace orca_tests {
namespace {

// The result of a command with two lines of output, and the lines; "thrown" when it threw.
std::string runCommand() {
  orca_pdk::CFiExecPipePosix pipe(0);
  std::string command = "/usr/bin/printf 'a line that is longer than a small string\\nb\\n'";
  std::vector<std::string> output;
  std::string text;
  try {
    text = std::to_string(pipe.Exec(std::move(command), output, "", 60, "", "", ""));
  } catch (const std::bad_alloc&) {
    return "thrown";
  }
  for (const std::string& line : output) text += "|" + line;
  return text;
}

TEST(ShortMemory, MakesACommandFailWithoutAnException) {
  const std::pair<const char*, std::string> contexts[] = {{"0", "6,8,"}, {"1", "-1,"}};
  for (const auto& [setting, failures] : contexts) {
    const ScopedEnv context("ORCA_CHILD_CONTEXT", setting);
    ShortMemory{"Exec", runCommand,
                [&known = failures](const std::string& result) {
                  return known.find(result.substr(0, result.find('|')) + ",") != std::string::npos;
                }}
        .sweep();
  }
}

}  // namespace
}  // namespace orca_tests
