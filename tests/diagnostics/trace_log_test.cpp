#include "cfitracelog.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <ctime>

#include "support/trace_recorder.h"

namespace {
std::time_t g_ahead = 0;  // seconds by which the log's clock is ahead
}

extern "C" std::time_t time(std::time_t* out) noexcept {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  now.tv_sec += g_ahead;
  if (out != nullptr) *out = now.tv_sec;
  return now.tv_sec;
}

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

std::string traceFile(const CFiTraceLogPtr& log) { return readFile(log->getTracePath().c_str()); }

TEST(TraceLog, WritesUpToItsLevelOrTheProductsVerbosityAndPushesEverything) {
  for (const auto& [stored, verbosity, level, isWritten, severity] :
       std::vector<std::tuple<int, const char*, int, bool, char>>{{3, "0", 3, true, '1'},
                                                                  {3, "8", 6, false, '4'},
                                                                  {3, "9", 6, true, '4'},
                                                                  {3, "9", 10, false, '4'},
                                                                  {1, "12", 2, true, '2'},
                                                                  {2, "-1", -1, true, '4'},
                                                                  {1, "x", 1, true, '3'}}) {
    TraceRecorder trace("rec", stored);
    writeFile("/usr/tarn/keystone/kq.conf", std::string("FRZCMD_VERBOSE = ") + verbosity + "\n");
    trace.log->trace(level, "%s", "line");
    EXPECT_EQ(!traceFile(trace.log).empty(), isWritten) << stored << verbosity << level;
    EXPECT_EQ(trace.messages, severity + std::string(" line\n"));
  }
}

TEST(TraceLog, WritesStampProcessAndMessageAndEchoesThemBehindTheComponent) {
  TraceRecorder trace;
  CaptureStdout();
  trace.log->initialize("rec", "", "", 6, true);
  trace.log->trace(1, "%s %d", "100%s", 7);
  const std::string line = traceFile(trace.log);
  EXPECT_THAT(line,
              ::testing::MatchesRegex("20..-..-.. ..:..:..[.]...... <Pid - " +
                                      std::to_string(getpid()) + " / Thread id - 1> 100%s 7\n"));
  EXPECT_EQ(GetCapturedStdout(), "rec:" + line);
  EXPECT_EQ(trace.last, "rec:" + line.substr(0, 26) + " <Thread id - 1> 100%s 7\n");
  EXPECT_EQ(std::filesystem::status(trace.log->getTracePath().c_str()).permissions(),
            std::filesystem::perms(0600));
}

TEST(TraceLog, CutsAMessageOnlyAtItsGreatestLength) {
  const size_t around =
      std::string("2026-11-21 01:40:14.414952 <Pid -  / Thread id - 1> \n").size() +
      std::to_string(getpid()).size();
  for (const size_t length : {1022, 1023, 1024, 2047, 8190, 8191, 8192, 20000}) {
    TraceRecorder trace;
    trace.log->trace(1, "%s", std::string(length, 'x').c_str());
    EXPECT_EQ(traceFile(trace.log).size(), around + std::min<size_t>(length, 8191)) << length;
  }
  TraceRecorder longName(std::string(240, 'n').c_str());
  longName.log->trace(1, "%s", std::string(768, 'x').c_str());
  EXPECT_EQ(longName.last.size(), 1023U) << "256 bytes to spare are taken to be enough";
  longName.log->trace(1, "%s", std::string(769, 'x').c_str());
  EXPECT_EQ(longName.last.size(), 240U + 45 + 769);
}

TEST(TraceLog, ChangesItsFileWithTheDateAndRemovesALinkThere) {
  TraceRecorder trace;
  const std::string first = trace.log->getTracePath().c_str();
  g_ahead = 24 * 3600;
  const std::time_t now = std::time(nullptr);
  char stamp[16];
  std::strftime(stamp, sizeof(stamp), "%m%d", std::localtime(&now));
  std::string next = "/usr/tarn/keystone/logs/frzcmd//rec.log." + std::string(stamp);
  next += first.substr(first.size() - 2);
  writeFile("/usr/tarn/target", "kept");
  std::filesystem::create_symlink("/usr/tarn/target", next);
  CaptureStdout();
  trace.log->trace(9, "filtered");
  EXPECT_EQ(trace.log->getTracePath().c_str(), first) << "only a written line looks at the date";
  trace.log->trace(1, "line");
  EXPECT_EQ(GetCapturedStdout(),
            "A symbolic link with the name " + next + " exists.Removing link\n");
  EXPECT_EQ(trace.log->getTracePath().c_str(), next);
  EXPECT_FALSE(std::filesystem::is_symlink(next));
  EXPECT_NE(traceFile(trace.log), "");
  std::filesystem::remove(next);
  std::filesystem::create_symlink("/usr/tarn/target", next);
  trace.log->trace(1, "lost");
  EXPECT_EQ(readFile("/usr/tarn/target"), "kept") << "a link made later is not followed";
  EXPECT_EQ(trace.messages, "4 filtered\n3 line\n3 lost\n");
  g_ahead = 0;
}

TEST(TraceLog, StaysSilentWhenItsFileCannotBeOpened) {
  TraceRecorder trace;
  CFiTraceLog log;
  log.registerErrorManager(&trace.manager);
  log.trace(1, "not initialised");
  CaptureStdout();
  log.initialize("off", "/nowhere", "f", 3, false);
  std::string path = log.getTracePath().c_str();
  EXPECT_EQ(GetCapturedStdout(), "Failed to lstat " + path + "\n[CFiTraceLog] Error: Tracefile [" +
                                     path + "] initialization failed.[f][/nowhere]\n");
  log.trace(1, "still not");
  trace.log->trace(1, "%s", "");
  EXPECT_EQ(trace.messages, "3 \n") << "an empty text is a line, an empty format none";
  trace.log->trace(1, nullptr);
  EXPECT_EQ(trace.messages, "3 \n");
}

TEST(TraceScope, WritesEntryAndExitUnderTheFilesBaseName) {
  TraceRecorder trace;
  { const CFiTraceLogFunction scope(trace.log, "make", 12, "../cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, "make", 0, "a/b/cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, nullptr, 1, "../cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, "make", 1, nullptr); }
  { const CFiTraceLogFunction scope(CFiTraceLogPtr(), "make", 1, "../cfidemo"); }
  EXPECT_EQ(trace.messages,
            "4 Entering Function make [12, cfidemo]\n4 Exiting Function make [12, cfidemo]\n"
            "4 Entering Function make [0, cfidemo]\n4 Exiting Function make\n");
  { const CFiTraceLogFunction scope(trace.log, "make", 1, "cfidemo"); }
  EXPECT_NE(trace.messages.find("make [1, pdk/include/cfitracelog.h]"), std::string::npos);
  EXPECT_EQ(trace.log->getCount(), 1);
}

}  // namespace
