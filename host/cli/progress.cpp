#include "cli/progress.h"

#include <iomanip>
#include <iostream>
#include <sstream>

#include "cli/answertext.h"
#include "cli/text.h"

namespace fihost {

void Progress::ended(const Call& call) {
  if (!call.operation->isStep) return;
  std::ostringstream out;
  out << std::left << std::setw(20) << call.operation->name << std::right << std::setw(10)
      << milliseconds(call.milliseconds) << " ms  " << printable(answerText(call));
  if (!call.node.empty()) out << "  " << printable(call.node);
  std::cout << out.str() << std::endl;
}

}  // namespace fihost
