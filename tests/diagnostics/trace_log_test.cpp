#include "cfitracelog.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "cficonfiguration.h"
#include "support/trace_recorder.h"

namespace {

std::time_t g_now = 0;  // stands in for the real time while it is set

}  // namespace

// The trace log's clock; the stamps of its lines come from another one.
extern "C" time_t time(time_t*) noexcept {
  timespec real{};
  clock_gettime(CLOCK_REALTIME, &real);
  return g_now == 0 ? real.tv_sec : g_now;
}

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

using TraceLog = PrivateUsrTest;
using TraceScope = PrivateUsrTest;

std::string traceFile(const CFiTraceLogPtr& log) { return readFile(log->getTracePath().c_str()); }

TEST_F(TraceLog, WritesUpToItsLevelOrTheProductsVerbosity) {
  const std::tuple<int, const char*, int, std::string, std::string> cases[] = {
      {3, "0", 3, "line", "1"},  {3, "8", 6, "", "4"},      {3, "9", 10, "", "4"},
      {3, "9", 6, "line", "4"},  {1, "9", 9, "line", "4"},  {1, "12", 2, "line", "2"},
      {2, "-1", 1, "line", "3"}, {2, "-1", -1, "line", "4"}};
  for (const auto& [stored, verbosity, level, written, severity] : cases) {
    SCOPED_TRACE(std::to_string(stored) + " " + verbosity + " " + std::to_string(level));
    TraceRecorder trace("rec", stored);
    writeFile("/usr/tarn/keystone/kq.conf", std::string("FRZCMD_VERBOSE = ") + verbosity + "\n");
    trace.log->trace(level, "%s", "line");
    EXPECT_THAT(traceFile(trace.log), ::testing::HasSubstr(written));
    EXPECT_EQ(traceFile(trace.log).empty(), written.empty());
    EXPECT_EQ(trace.messages, severity + " line\n") << "the error manager gets every line";
  }
}

TEST_F(TraceLog, WritesTheSameLineToFileOutputAndErrorManager) {
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

TEST_F(TraceLog, CutsAMessageOnlyAtItsGreatestLength) {
  const size_t around = 53 + std::to_string(getpid()).size();
  for (const size_t length : {1022, 1023, 1024, 8191, 8192, 20000}) {
    TraceRecorder trace;
    trace.log->trace(1, "%s", std::string(length, 'x').c_str());
    EXPECT_EQ(traceFile(trace.log).size(), around + std::min<size_t>(length, 8191)) << length;
  }
}

// The first second of a day, by the local clock.
std::time_t midnightOf(int year, int month, int day) {
  std::tm parts{};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  parts.tm_isdst = -1;
  return std::mktime(&parts);
}

TEST_F(TraceLog, ChangesItsFileWithTheDate) {
  const std::tuple<std::time_t, std::string, std::string> cases[] = {
      {midnightOf(2024, 1, 1), "123123", "010124"}, {midnightOf(2024, 2, 29), "022824", "022924"}};
  for (const auto& [midnight, lastDay, nextDay] : cases) {
    const std::string start = "/usr/tarn/keystone/logs/frzcmd//rec.log.";
    g_now = midnight - 1;
    TraceRecorder trace;
    trace.log->trace(1, "line");
    EXPECT_EQ(trace.log->getTracePath().c_str(), start + lastDay);
    g_now = midnight;
    writeFile("/usr/tarn/target", "kept");
    std::filesystem::create_symlink("/usr/tarn/target", start + nextDay);
    CaptureStdout();
    trace.log->trace(1, "line");
    EXPECT_EQ(GetCapturedStdout(),
              "A symbolic link with the name " + start + nextDay + " exists.Removing link\n");
    EXPECT_EQ(trace.log->getTracePath().c_str(), start + nextDay);
    EXPECT_THAT(traceFile(trace.log), ::testing::EndsWith("> line\n"));
    EXPECT_EQ(readFile("/usr/tarn/target"), "kept");
  }
  g_now = 0;
}

// Puts something at the place of a trace file, as whoever can write its folder could. False when
// this user cannot.
bool lay(const std::string& what, const std::string& path) {
  std::filesystem::remove(path);
  if (what == "FIFO") return mkfifo(path.c_str(), 0600) == 0;
  if (what == "link") return symlink("/usr/tarn/target", path.c_str()) == 0;
  if (what == "second name") return link("/usr/tarn/target", path.c_str()) == 0;
  writeFile(path, "kept");
  return chown(path.c_str(), 1, 1) == 0;
}

TEST_F(TraceLog, WritesIntoNothingThatOthersLaidAtItsPath) {
  for (const std::string what : {"FIFO", "link", "second name", "another user's file"}) {
    SCOPED_TRACE(what);
    TraceRecorder trace;
    const std::string path = trace.log->getTracePath().c_str();
    writeFile("/usr/tarn/target", "kept");
    if (!lay(what, path)) GTEST_SKIP() << what << ": only root can";
    trace.log->trace(1, "lost");
    EXPECT_EQ(readFile(what == "FIFO" ? "/usr/tarn/target" : path), "kept");
    if (what == "link") continue;  // a start removes it
    CaptureStdout();
    trace.log->initialize("rec", "", "", 6, false);
    EXPECT_THAT(GetCapturedStdout(), ::testing::HasSubstr("] initialization failed.[rec.log]["));
    EXPECT_FALSE(trace.log->isInitialized());
  }
}

TEST_F(TraceLog, StaysSilentWithoutItsFile) {
  TraceRecorder trace;
  CFiTraceLog log;
  log.registerErrorManager(&trace.manager);
  CaptureStdout();
  log.initialize("off", "/nowhere", "f", 3, false);
  std::string path = log.getTracePath().c_str();
  EXPECT_EQ(GetCapturedStdout(), "Failed to lstat " + path + "\n[CFiTraceLog] Error: Tracefile [" +
                                     path + "] initialization failed.[f][/nowhere]\n");
  log.trace(1, "lost");
  EXPECT_EQ(trace.messages, "");
  trace.log->initialize("off", trace.log->getTracePath() + "/none", "f", 3, false);
  trace.log->trace(1, "lost");
  EXPECT_EQ(trace.messages, "") << "it worked before";
}

TEST_F(TraceScope, WritesUnderTheFilesBaseName) {
  TraceRecorder trace;
  const CFiTraceLogPtr none;
  { const CFiTraceLogFunction scope(trace.log, "make", 12, "../cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, "make", 0, "a/b/cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, nullptr, 1, "../cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, "make", 1, nullptr); }
  { const CFiTraceLogFunction scope(none, "make", 1, "../cfidemo"); }
  { const CFiTraceLogFunction scope(trace.log, "g", 1, "cfidemo"); }
  EXPECT_EQ(trace.messages,
            "4 Entering Function make [12, cfidemo]\n4 Exiting Function make [12, cfidemo]\n"
            "4 Entering Function make [0, cfidemo]\n4 Exiting Function make\n"
            "4 Entering Function g [1, pdk/include/cfitracelog.h]\n4 Exiting Function g [1, "
            "pdk/include/cfitracelog.h]\n");
  EXPECT_EQ(trace.log->getCount(), 1);
}

const std::string kDir = "/usr/tarn/keystone/logs/frzcmd/";
const std::string kFile = "/usr/tarn/lib/orca/configfiles/s.conf";

// The stored settings as "dir|file|level|stdout|update|".
std::string stored() {
  CFiConfiguration config(tstr("s"));
  std::string all;
  for (const char* key :
       {"TRACEDIR", "TRACEFILE", "TRACELEVEL", "TRACESTDOUT", "TRACERUNTIMEUPDATE"}) {
    tstr text;
    unsigned int number = 99;
    const bool isText = config.getStringValue("DEBUG_TRACE_INFO", key, text) == 0;
    if (!isText) config.getIntegerValue("DEBUG_TRACE_INFO", key, number);
    all += (isText ? text.c_str() : std::to_string(static_cast<int>(number))) + "|";
  }
  return all;
}

struct Settings : PrivateUsrTest {
  TraceRecorder world;  // makes the folders
  CFiTraceLog log;
};

TEST_F(Settings, AreMadeOnTheFirstRunWhichStaysOff) {
  log.initialize("s", "", "", 4, true);
  EXPECT_FALSE(log.isInitialized());
  EXPECT_EQ(stored(), kDir + "|s.log|4|0|0|");
  log.initialize("s", "", "", 2, false);
  EXPECT_TRUE(log.isInitialized());
  EXPECT_EQ(log.getLevel(), 4) << "the stored level holds";
  log.initialize("s", "/usr/tarn", "own", 2, false);
  EXPECT_EQ(stored(), "/usr/tarn|own|2|0|0|");
}

TEST_F(Settings, AreWrittenWhereOneIsMissing) {
  const std::string dir = "\"TRACEDIR\"=\"/usr/tarn\"\n", level = "\"TRACELEVEL\"=dword:";
  const std::tuple<std::string, std::string, int> cases[] = {
      {"", kDir + "|s.log|4|1|0|", 12345},
      {dir + level + "00000005\n", "/usr/tarn|s.log|5|1|0|", 5},
      {"\"TRACEFILE\"=\"f\"\n\"TRACESTDOUT\"=dword:0\n" + level + "0\n", kDir + "|f|0|0|0|", 12345},
      {level + "ffffffff\n\"TRACERUNTIMEUPDATE\"=dword:1\n", kDir + "|s.log|-1|1|1|", -1}};
  for (const auto& [lines, wanted, wantedLevel] : cases) {
    SCOPED_TRACE(lines);
    writeFile(kFile, "[DEBUG_TRACE_INFO]\n" + lines);
    CFiTraceLog fresh;
    fresh.initialize("s", "", "", 4, true);
    EXPECT_EQ(stored(), wanted);
    EXPECT_EQ(fresh.isInitialized() ? fresh.getLevel() : 12345, wantedLevel);
  }
}

TEST_F(Settings, AreReadAgainForEachLineWhenTheySaySo) {
  const std::string head =
      "[DEBUG_TRACE_INFO]\n\"TRACERUNTIMEUPDATE\"=dword:1\n\"TRACELEVEL\"=dword:";
  writeFile(kFile, head + "3\n");
  log.initialize("s", "", "", 1, false);
  writeFile(kFile, head + "5\n");
  log.trace(9, nullptr);
  EXPECT_EQ(log.getLevel(), 5);
}

TEST_F(Settings, OfTheProductAreReadInPiecesOf254BytesThatEndAtANul) {
  const std::string key = "FRZCMD_VERBOSE", nul(1, '\0');
  const auto after = [](size_t length) { return std::string(length, '#'); };
  const std::tuple<std::string, bool, int, int> cases[] = {
      {"VERBOSE=1\n" + key + " = 2\n", true, 0, 2},
      {"=4 " + key + "=2", true, 0, 4},
      {key + "\n" + key + "=2", true, 1, -7},
      {key + nul + "=9", true, 1, -7},
      {"# MyVERBOSEs=-3\nVERBOSE=5", false, 0, -3},
      {after(238) + key + "=9", true, 0, 9},
      {after(240) + key + "=9", true, 1, -7},
      {after(241) + key + "=9", false, 1, -7},
      {after(247) + key + "=9", false, 0, 9},
      {after(5000) + "\n" + key + "=9", true, 0, 9},
      {"=5\n", false, 1, -7}};
  tstr dir, file;
  EXPECT_EQ(log.getFrzcmdTraceConfigFileInfo(dir, file), 0);
  std::string path = (dir + file).c_str();
  EXPECT_EQ(path, "/usr/tarn/keystone/kq.conf");
  int level = -7;
  EXPECT_TRUE(log.findFrzcmdVerboseValue(path)) << "missing";
  EXPECT_EQ(log.getFrzcmdTraceLevel(dir, file, level), 26);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(log.getFrzcmdTraceLevel(dir, file, level), 1) << "a FIFO is not waited for";
  std::filesystem::remove(path);
  for (const auto& [content, isExact, result, wanted] : cases) {
    writeFile(path, content);
    level = -7;
    EXPECT_EQ(log.findFrzcmdVerboseValue(path), isExact) << content;
    EXPECT_EQ(log.getFrzcmdTraceLevel(dir, file, level), result) << content;
    EXPECT_EQ(level, wanted) << content;
  }
}

}  // namespace
