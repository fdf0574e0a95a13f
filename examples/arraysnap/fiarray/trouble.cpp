#include "trouble.h"

#include <signal.h>

#include <chrono>
#include <thread>

#include "fault.h"

namespace fiarray {

namespace {

void wait(int seconds) { std::this_thread::sleep_for(std::chrono::seconds(seconds)); }

}  // namespace

const std::vector<std::string>& troubleKinds() {
  static const std::vector<std::string> kinds{"none",    "delay", "silence",
                                              "garbage", "exit",  "crash"};
  return kinds;
}

Trouble takeTrouble(Store& store) {
  Trouble& trouble = store.state.trouble;
  if (trouble.left == 0) return {};
  --trouble.left;
  store.save();
  return trouble;
}

void meetBefore(const Trouble& trouble) {
  if (trouble.kind == "delay") wait(trouble.argument);
  if (trouble.kind == "exit") throw Fault{trouble.argument, "the controller is not in the mood"};
}

void meetMidway(const Trouble& trouble) {
  if (trouble.kind == "crash") raise(SIGKILL);
}

std::string meetAfter(const Trouble& trouble, const Answer& answer) {
  meetMidway(trouble);
  if (trouble.kind == "silence") wait(trouble.argument);
  if (trouble.kind == "garbage") return {"\x01\xff<%s>=\0=\x1b[2J", 13};
  std::string text;
  for (const auto& [key, value] : answer) text.append(key).append("=").append(value).append("\n");
  return text;
}

}  // namespace fiarray
