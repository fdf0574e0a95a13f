#include "support/short_memory.h"
#include "support/trace_recorder.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

TEST(ShortMemory, LetsALineBeTracedWholeOrLost) {
  TraceRecorder trace;
  ShortMemory{"trace",
              [&trace] {
                trace.messages.clear();
                trace.log->trace(1, "%s", "line");
                return trace.messages;
              }}
      .sweep();
}

}  // namespace
}  // namespace orca_tests
