#include <gtest/gtest.h>

#include <cstring>
#include <random>

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
  for (const char update : {'0', '1'}) {
    const std::string rest = std::string("\"TRACERUNTIMEUPDATE\"=dword:0000000") + update + "\n";
    writeFile(kFile, "[DEBUG_TRACE_INFO]\n\"TRACELEVEL\"=dword:00000003\n" + rest);
    CFiTraceLog fresh;
    fresh.initialize("s", "", "", 1, false);
    writeFile(kFile, "[DEBUG_TRACE_INFO]\n\"TRACELEVEL\"=dword:00000005\n" + rest);
    fresh.trace(9, nullptr);
    EXPECT_EQ(fresh.getLevel(), update == '1' ? 5 : 3);
  }
}

// The rule in terms of the C library: lines of at most 254 characters, texts that end at a NUL.
std::pair<bool, int> expected(const std::string& path, int& level) {
  const auto firstLineWith = [&path](const char* key, char* buffer) {
    std::FILE* file = std::fopen(path.c_str(), "r");
    bool isFound = false;
    while (!isFound && std::fgets(buffer, 255, file) != nullptr) isFound = std::strstr(buffer, key);
    std::fclose(file);
    return isFound;
  };
  char buffer[256];
  const bool isExact = firstLineWith("FRZCMD_VERBOSE", buffer);
  if (!isExact && !firstLineWith("VERBOSE", buffer)) return {false, 1};
  const char* equals = std::strchr(buffer, '=');
  return {isExact, equals != nullptr && std::sscanf(equals + 1, "%d", &level) == 1 ? 0 : 1};
}

TEST_F(Settings, OfTheProductAreReadAsTheCLibraryReadsLines) {
  const std::string words[] = {"FRZCMD_VERBOSE",
                               "VERBOSE",
                               "FRZCMD_",
                               "=",
                               "= 9",
                               "-3",
                               "x",
                               " ",
                               "\n",
                               "\n",
                               std::string(1, '\0'),
                               std::string(83, 'y'),
                               std::string(4000, 'z'),
                               std::string(253, '#') + "\n"};
  std::mt19937 random(7);
  tstr dir("/usr/tarn/"), file("kq");
  std::string path = "/usr/tarn/kq";
  int answers[2] = {};
  for (int round = 0; round < 4000; ++round) {
    std::string content;
    for (size_t i = random() % 16; i > 0; --i) content += words[random() % std::size(words)];
    writeFile(path, content);
    int wanted = -7, level = -7;
    const auto [isExact, result] = expected(path, wanted);
    ASSERT_EQ(log.findFrzcmdVerboseValue(path), isExact) << content;
    ASSERT_EQ(log.getFrzcmdTraceLevel(dir, file, level), result) << content;
    ASSERT_EQ(level, wanted) << content;
    ++answers[result];
  }
  EXPECT_GT(std::min(answers[0], answers[1]), 100) << "both kinds were met";
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
