#include <gtest/gtest.h>

#include "cficonfiguration.h"
#include "support/trace_recorder.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;

const std::string kDir = "/usr/tarn/keystone/logs/frzcmd/";
const std::string kFile = "/usr/tarn/lib/orca/configfiles/s.conf";

// The stored settings as "dir|file|level|stdout|update|".
std::string stored() {
  CFiConfiguration config(tstr("s"));
  std::string all;
  for (const char* key : {"TRACEDIR", "TRACEFILE"}) {
    tstr text("-");
    config.getStringValue("DEBUG_TRACE_INFO", key, text);
    all += (text + "|").c_str();
  }
  for (const char* key : {"TRACELEVEL", "TRACESTDOUT", "TRACERUNTIMEUPDATE"}) {
    unsigned int number = 99;
    config.getIntegerValue("DEBUG_TRACE_INFO", key, number);
    all += std::to_string(static_cast<int>(number)) + "|";
  }
  return all;
}

struct Settings : ::testing::Test {
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
  EXPECT_EQ(std::string(log.getTracePath().c_str()).find("/usr/tarn/own."), 0U);
}

TEST_F(Settings, AreWrittenWhereOneIsMissing) {
  for (const auto& [lines, wanted, level] : std::vector<std::tuple<std::string, std::string, int>>{
           {"", kDir + "|s.log|4|1|0|", 12345},
           {"\"TRACEDIR\"=\"/usr/tarn\"\n\"TRACELEVEL\"=dword:00000005\n", "/usr/tarn|s.log|5|1|0|",
            5},
           {"\"TRACEFILE\"=\"f\"\n\"TRACESTDOUT\"=dword:00000000\n\"TRACELEVEL\"=dword:0\n",
            kDir + "|f|0|0|0|", 12345},
           {"\"TRACELEVEL\"=dword:ffffffff\n\"TRACERUNTIMEUPDATE\"=dword:00000001\n",
            kDir + "|s.log|-1|1|1|", -1}}) {
    writeFile(kFile, "[DEBUG_TRACE_INFO]\n" + lines);
    CFiTraceLog fresh;
    fresh.initialize("s", "", "", 4, true);
    EXPECT_EQ(stored(), wanted);
    EXPECT_EQ(fresh.isInitialized(), level != 12345) << lines;
    EXPECT_EQ(fresh.getLevel(), level != 12345 ? level : 0);
    EXPECT_EQ(std::filesystem::exists(fresh.getTracePath().c_str()), fresh.isInitialized());
    std::filesystem::remove(fresh.getTracePath().c_str());
  }
}

TEST_F(Settings, AreReadAgainForEachLineWhenTheySaySo) {
  for (const char* update : {"0", "1"}) {
    CFiTraceLog fresh;
    for (const char* level : {"3", "5"}) {
      writeFile(kFile, std::string("[DEBUG_TRACE_INFO]\n\"TRACELEVEL\"=dword:0000000") + level +
                           "\n\"TRACERUNTIMEUPDATE\"=dword:0000000" + update + "\n");
      if (!fresh.isInitialized()) fresh.initialize("s", "", "", 1, false);
    }
    fresh.trace(9, nullptr);
    EXPECT_EQ(fresh.getLevel(), *update == '1' ? 5 : 3);
  }
}

TEST_F(Settings, OfTheProductAreReadInPiecesOf254BytesThatEndAtANul) {
  const std::string key = "FRZCMD_VERBOSE", nul(1, '\0');
  const auto after = [](size_t length) { return std::string(length, '#'); };
  const std::tuple<std::string, bool, int, int> cases[] = {
      {"a=1\n" + key + " = 9\n", true, 0, 9},
      {"VERBOSE=1\n" + key + "=2", true, 0, 2},
      {"=4 " + key + "=2", true, 0, 4},
      {key + "\n" + key + "=2", true, 1, -7},
      {key + "=\n7", true, 1, -7},
      {key + nul + "=9", true, 1, -7},
      {nul + key + "=9\n", false, 1, -7},
      {"# MyVERBOSEs=-3\nVERBOSE=5", false, 0, -3},
      {"FRZCMD_=9\n", false, 1, -7},
      {after(239) + key + "=9", true, 1, -7},
      {after(238) + key + "=9", true, 1, -7},
      {after(241) + key + "=9", false, 1, -7},
      {after(247) + key + "=9", false, 0, 9},
      {after(254) + key + "=9", true, 0, 9}};
  tstr dir("/usr/tarn/"), file("kq");
  std::string path = "/usr/tarn/kq";
  for (const auto& [content, isExact, result, wanted] : cases) {
    writeFile(path, content);
    int level = -7;
    EXPECT_EQ(log.findFrzcmdVerboseValue(path), isExact) << content;
    EXPECT_EQ(log.getFrzcmdTraceLevel(dir, file, level), result) << content;
    EXPECT_EQ(level, wanted) << content;
  }
}

TEST_F(Settings, OfTheProductMayBeMissing) {
  tstr dir, file;
  int level = -7;
  EXPECT_EQ(log.getFrzcmdTraceConfigFileInfo(dir, file), 0);
  EXPECT_STREQ((dir + file).c_str(), "/usr/tarn/keystone/kq.conf");
  std::string path = (dir + file).c_str();
  EXPECT_TRUE(log.findFrzcmdVerboseValue(path));
  EXPECT_EQ(log.getFrzcmdTraceLevel(dir, file, level), 26);
  std::filesystem::create_directories(path);
  EXPECT_FALSE(log.findFrzcmdVerboseValue(path)) << "opened, but without lines";
  EXPECT_EQ(log.getFrzcmdTraceLevel(dir, file, level), 1);
  EXPECT_EQ(level, -7);
}

}  // namespace
