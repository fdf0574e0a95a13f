#include "cli/progress.h"

#include <unistd.h>

#include <iomanip>
#include <iostream>
#include <sstream>

#include "cli/answertext.h"
#include "cli/text.h"

namespace fihost {

namespace {

// Back to the start of the line, and clear it.
constexpr char kClear[] = "\r\033[K";

bool isTerminal() {
  static const bool is = isatty(STDOUT_FILENO) != 0;
  return is;
}

}  // namespace

void Progress::begins(const Call& call) {
  if (!call.operation->isStep || !isTerminal()) return;
  std::cout << call.operation->name << " ...  " << printable(call.node) << std::flush;
}

void Progress::ended(const Call& call) {
  if (!call.operation->isStep) return;
  std::ostringstream out;
  if (isTerminal()) out << kClear;
  out << std::left << std::setw(20) << call.operation->name << std::right << std::setw(10)
      << milliseconds(call.milliseconds) << " ms  " << printable(answerText(call));
  if (!call.node.empty()) out << "  " << printable(call.node);
  std::cout << out.str() << std::endl;
}

}  // namespace fihost
