#include "cfierrormgr.h"
#include "cfiicucatalog.h"
#include "support/short_memory.h"
#include "support/trace_recorder.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

const char kText[] = "a text that does not fit into a small string";

TEST(ShortMemory, LetsAMessageBeWrittenWholeOrThrow) {
  ShortMemory{"serialize",
              [] {
                CFiIcuMessage message("ID", 3);
                message.addArgument(7);
                message.addArgument(kText);
                return std::string(message.serialize()->text);
              }}
      .sweep();
}

TEST(ShortMemory, LetsAMessageBeReadWholeOrStayAsItWas) {
  std::string text = std::string("<SERIALIZED_MESSAGE MSGID=") + std::string(40, 'I') +
                     " SEVERITY=2>\n<ARGVALUE INDEX=0 TYPE=3>" + kText + "</ARGVALUE>";
  ShortMemory{"deserialize",
              [&text] {
                const pyx_msg_info info = {text.data(), text.size()};
                CFiIcuMessage message("OLD", 1);
                try {
                  message.deserialize(&info);
                } catch (const std::bad_alloc&) {
                  return message.getMessageId() + std::to_string(message.argumentCount());
                }
                return std::string(message.serialize()->text);
              },
              [](const std::string& result) { return result == "OLD0"; }}
      .sweep();
}

TEST(ShortMemory, LetsALineBeTracedWholeOrLost) {
  if (!isUsrPrivate()) GTEST_SKIP() << "it takes a /usr/tarn of its own";
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
