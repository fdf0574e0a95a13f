#include "cfipblm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>

#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::CFiPblmOps;
using orca_pdk::tstr;

const std::string kDevice = "UDID##V##P##E1##D";

class LunCache : public PluginTest {
 protected:
  LunCache() {
    m_cache.registerTraceLog(m_log);
    for (const char* name : {"luns/E1", "devHandle/E1"})
      std::filesystem::create_directories(m_folder / name);
  }
  // The path of a record of enclosure E1, unless the name is a path itself.
  std::string lun(const std::string& name) const { return m_folder / "luns/E1" / name; }
  void put(const std::string& name, const std::string& text) { writeFile(lun(name), text); }
  // The proposals, each with a blank behind it.
  std::string freeNumbers(const char* enclosure = "E1") { return freeNumbers(m_cache, enclosure); }
  std::string freeNumbers(CFiPblmOps& cache, const char* enclosure = "E1") {
    m_recorder.lines.clear();
    std::vector<int> out;
    std::string text = cache.getNewValue(enclosure, out) ? "" : "refused";
    for (int number : out) text += std::to_string(number) + " ";
    return text;
  }
  int set(const std::string& name, Texts values, const char* id = "E1") {
    return m_cache.setKeyValue(lun(name).c_str(), std::move(values), id);
  }
  // The lines since the last call that hold a text.
  Texts traced(const std::string& text) {
    Texts lines = m_recorder.takeBody();
    std::erase_if(lines, [&](const std::string& line) { return line.find(text) == line.npos; });
    return lines;
  }
  std::filesystem::path m_folder = m_root.path() / "lib/orca/cachefiles";
  CFiPblmOps m_cache;
};

TEST_F(LunCache, ProposesTheFreeNumbersOfItsRangeInOrder) {
  put(kDevice, "3");
  m_cache.setLunNumRange(2, 6);
  EXPECT_EQ(freeNumbers("E1"), "2 4 5 6 ");
  EXPECT_EQ(freeNumbers("e1"), "2 4 5 6 ");
  Texts out = {"old"};
  EXPECT_TRUE(m_cache.getNewLunNum("E1", out));
  EXPECT_EQ(out, Texts({"old", "2", "4", "5", "6"}));
  m_cache.setLunNumRange(3, 3);
  EXPECT_EQ(freeNumbers(), "");
  EXPECT_EQ(m_recorder.lines.back(),
            "6 CFiPblmOps::getNewValue - Unable to suggest a new LUN Number.\n");
  EXPECT_FALSE(m_cache.getNewLunNum("E1", out));
}

TEST_F(LunCache, BoundsItsRangeToTheNumbersOfAMap) {
  m_cache.setLunNumRange(254, 255);
  m_cache.setLunNumRange(254, 256);
  EXPECT_EQ(m_recorder.takeBody(),
            Texts{"6 CFiPblmOps::setLunNumRange: bounding to higher limit of [255]."});
  EXPECT_EQ(m_cache.getMinLunNum(), 254u);
  EXPECT_EQ(m_cache.getMaxLunNum(), 255u);
  EXPECT_EQ(freeNumbers(), "254 255 ");
  orca_pdk::lunNum* map = nullptr;
  m_cache.setLunNumRange(257, 257);
  EXPECT_THAT([&] { m_cache.resetLunNum(lun("a").c_str(), 256); },
              testing::ThrowsMessage<std::out_of_range>("bitset::reset"));
  EXPECT_THAT([&] { m_cache.allocLunNumEle(&map); },
              testing::ThrowsMessage<std::out_of_range>("bitset::set"));
}

TEST_F(LunCache, TakesARecordForTheNumberThatStrtolMakesOfIt) {
  const std::tuple<const char*, int, const char*> cases[] = {
      {"abc", 0, "1 2 "},     {"\n", 0, "1 2 "},
      {" +1x", 1, "0 2 "},    {"2\n1", 2, "0 1 "},
      {"3", 3, "0 1 2 "},     {"-1", -1, "0 1 2 "},
      {"256", 256, "0 1 2 "}, {"99999999999999999999", INT_MAX, "0 1 2 "}};
  for (const auto& [text, number, free] : cases) {
    SCOPED_TRACE(text);
    CFiPblmOps cache;
    cache.registerTraceLog(m_log);
    cache.setLunNumRange(0, 2);
    put(kDevice, text);
    EXPECT_EQ(freeNumbers(cache), free);
    EXPECT_EQ(traced("failure"), Texts());
    int value = 7;
    EXPECT_EQ(cache.getKeyValue(lun(kDevice).c_str(), value), 0);
    EXPECT_THAT(traced("got Cache"), testing::ElementsAre(testing::StartsWith("6 ")));
    EXPECT_EQ(value, number);
    EXPECT_EQ(cache.rmCacheRecord(lun(kDevice).c_str()), 0);
    EXPECT_EQ(freeNumbers(cache), "0 1 2 ");
    EXPECT_EQ(cache.setKeyValue(lun("set").c_str(), {text}, "E1"), 0);
    EXPECT_EQ(freeNumbers(cache), free);
    std::filesystem::remove(lun("set"));
  }
}

TEST_F(LunCache, SkipsWhatItCannotReadInADirectory) {
  put("empty", "");
  put(kDevice, "2");
  std::filesystem::create_directory(lun("folder"));
  mkfifo(lun("fifo").c_str(), 0600);
  std::filesystem::create_symlink("nowhere", lun("link"));
  m_cache.setLunNumRange(0, 3);
  Texts out;
  EXPECT_TRUE(m_cache.getNewLunNum("E1", out));
  EXPECT_EQ(out, Texts({"0", "1", "3"}));
  const std::string line = "2 CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[26].";
  EXPECT_EQ(traced("fillBitMap ignore"), Texts(4, line));
}

TEST_F(LunCache, RemovesExactlyTheTemporariesOfProcessesThatAreGone) {
  const pid_t gone = fork();
  if (gone == 0) _exit(0);
  waitpid(gone, nullptr, 0);
  const std::string stale = ".new-" + std::to_string(gone) + "-4294967295";
  const std::string alive = ".new-" + std::to_string(getpid()) + "-0";
  int number = 0;
  for (const std::string& name : {stale, alive, std::string(".new-0-1"), ".new-01-" + stale,
                                  stale + "x", "x" + stale, std::string(".new-7-")}) {
    put(name, std::to_string(number++));
  }
  m_cache.setLunNumRange(0, 7);
  EXPECT_EQ(freeNumbers(), "0 1 7 ");
  EXPECT_FALSE(std::filesystem::exists(lun(stale)));
  EXPECT_EQ(readFile(lun(alive)), "1");
}

TEST_F(LunCache, ReadsOnlyTheFirstEnclosureFromItsFiles) {
  put(kDevice, "0");
  writeFile(m_folder / "luns/E2/x", "1");
  m_cache.setLunNumRange(0, 1);
  EXPECT_EQ(freeNumbers("E1"), "1 ");
  EXPECT_EQ(freeNumbers("E2"), "0 1 ");
  m_cache.fillBitMap(m_folder / "luns/E2/x", "E2");
  EXPECT_EQ(freeNumbers("E2"), "0 ");
}

TEST_F(LunCache, TakesAnIdForAPathAsLongAsItStaysInTheCache) {
  writeFile(m_folder / "luns/a/b/x", "1");
  writeFile(m_folder / "luns/root", "1");
  for (const char* id : {"a/b", "/a//b", "./a/./b", ".", "a/b/"}) {
    CFiPblmOps cache;
    cache.setLunNumRange(0, 2);
    EXPECT_EQ(freeNumbers(cache, id), "0 2 ") << id;
  }
}

TEST_F(LunCache, HasNoMapForAFirstEnclosureThatItCannotRead) {
  std::filesystem::create_directories(m_folder / "luns/../elsewhere");
  Texts out;
  for (const char* id : {"none", "..", "../luns/E1", "E1/..", "E1/../E1"}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(set(kDevice, {"1"}, id), 0);
    EXPECT_EQ(
        m_recorder.takeBody().back(),
        std::string("1 CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[") + id + "].\n");
    EXPECT_FALSE(m_cache.getNewLunNum(id, out));
    EXPECT_EQ(traced("opendir failure").size(), 1u);
  }
  EXPECT_FALSE(m_cache.refreshCache(std::string("E1\0", 3), nullptr));
}

TEST_F(LunCache, MarksTheNumberThatItWrites) {
  m_cache.setLunNumRange(0, 2);
  for (const auto& [text, free] : {std::pair("300", "0 1 2 "), std::pair("1", "0 2 ")}) {
    EXPECT_EQ(set(kDevice, {text}), 0);
    EXPECT_EQ(readFile(lun(kDevice)), text);
    EXPECT_EQ(freeNumbers(), free) << text;
  }
  EXPECT_EQ(set(kDevice, {"2"}, nullptr), 3);
  EXPECT_EQ(m_recorder.lines.back(),
            "2 CFiPblmOps::setKeyValue : No entry to be set in the bit Map because enclosureId is "
            "passed as NULL.\n");
  EXPECT_EQ(readFile(lun(kDevice)), "2");
  EXPECT_EQ(freeNumbers(), "0 2 ") << "no enclosure, no mark";
}

TEST_F(LunCache, KeepsOwnerGroupAndModeOfARecord) {
  put(kDevice, "1");
  if (chown(lun(kDevice).c_str(), 12, 34) != 0) GTEST_SKIP() << "only root may give files away";
  chmod(lun(kDevice).c_str(), 0604);
  EXPECT_EQ(set(kDevice, {"2"}), 0);
  EXPECT_EQ(readFile(lun(kDevice)), "2");
  struct stat info;
  ASSERT_EQ(stat(lun(kDevice).c_str(), &info), 0);
  EXPECT_EQ(info.st_uid, 12u);
  EXPECT_EQ(info.st_gid, 34u);
  EXPECT_EQ(info.st_mode & 07777, 0604u);
}

TEST_F(LunCache, WritesInPlaceWhatHasASecondName) {
  put("first", "300");
  std::filesystem::create_hard_link(lun("first"), lun("second"));
  EXPECT_EQ(set("first", {"4"}), 0);
  EXPECT_EQ(readFile(lun("second")), "4");
}

TEST_F(LunCache, SaysWhyARecordCannotBeWritten) {
  std::filesystem::create_symlink("/dev/full", lun("full"));
  mkfifo(lun("fifo").c_str(), 0600);
  const std::tuple<std::string, Texts, const char*, const char*> cases[] = {
      {"/none/x", {"1"}, "No such file or directory", "fopen failure"},
      {lun("full"), {"1"}, "No space left on device", "fputs failure with"},
      {lun("fifo"), {"1"}, "No such device or address", "fopen failure"},
      {lun("none"), {}, "Invalid argument", "fputs failure with"}};
  for (const auto& [path, values, cause, failure] : cases) {
    EXPECT_EQ(m_cache.setKeyValue(path.c_str(), values, "E1"), 26) << path;
    const std::string start = "1 CFiPblmOps::setKeyValue ERROR: ";
    EXPECT_EQ(m_recorder.takeBody(), Texts({start + cause + ": [" + path + "]",
                                            start + failure + " file=[" + path + "]\n"}));
  }
  EXPECT_EQ(m_cache.setKeyValue("E1", tstr("stray"), "", 12), 26);
  EXPECT_EQ(m_recorder.takeBody().front(),
            "1 CFiPblmOps::setKeyValue ERROR: fopen failure file=[stray]\n");
}

TEST_F(LunCache, RefusesArgumentsThatNameNothing) {
  orca_pdk::lunNum* map = nullptr;
  Texts out;
  unsigned int number = 1;
  int value = 0;
  EXPECT_EQ(m_cache.allocLunNumEle(nullptr), 3);
  EXPECT_FALSE(m_cache.getEnclMap(nullptr, &map));
  EXPECT_FALSE(m_cache.getEnclMap("E1", nullptr));
  EXPECT_FALSE(m_cache.getNewLunNum(nullptr, out));
  EXPECT_EQ(m_cache.getKeyValue(nullptr, value), 26);
  EXPECT_EQ(m_cache.setKeyValue(nullptr, {"1"}, "E1"), 26);
  EXPECT_EQ(m_cache.rmCacheRecord(nullptr), 3);
  EXPECT_EQ(m_cache.rmLunCacheRecord(nullptr, 4), 3);
  EXPECT_EQ(m_cache.rmLunPathRecord("x", "/", "E1", nullptr), 3);
  EXPECT_EQ(m_cache.rmLunPathRecord("none", "/", "E1", &number), 26);
  EXPECT_EQ(m_cache.rmCacheRecord(""), 3);
  EXPECT_EQ(m_cache.rmLunCacheRecord("", 4), 3);
  m_recorder.lines.clear();
  EXPECT_EQ(m_cache.rmLunCacheRecord("E1", 256), 3);
  EXPECT_EQ(m_recorder.takeBody(),
            Texts{"1 CFiPblmOps::rmLunCacheRecord invalid lun num [256] specified.\n"});
  EXPECT_EQ(m_cache.rmLunCacheRecord("none", 4), 26);
  m_cache.resetLunNum(nullptr, 0);
}

TEST_F(LunCache, WritesTheDeviceHandleOfADevice) {
  const std::string path = m_folder / "devHandle/E1" / kDevice;
  EXPECT_EQ(m_cache.setKeyValue("E1", tstr(kDevice.c_str()), "/dev/sda", 12), 0);
  EXPECT_EQ(m_recorder.lines[0], "6 LUNNO passed to setKeyValue is [12]");
  EXPECT_EQ(m_recorder.lines[1], "6  getdevKey returned [" + path + "]");
  EXPECT_EQ(readFile(path), "12");
}

TEST_F(LunCache, ReadsTheFirstLineOfARecord) {
  put("two", "12\n13\n");
  put("long", std::string(1023, '7') + "8");
  Texts values = {"old"};
  for (const char* name : {"two", "long"})
    EXPECT_EQ(m_cache.getKeyValue(lun(name).c_str(), values), 0) << name;
  EXPECT_EQ(values, Texts({"old", "12\n", std::string(1023, '7')}));
  m_recorder.lines.clear();
  for (const char* path : {"/dev/null", "/", static_cast<const char*>(nullptr)})
    EXPECT_EQ(m_cache.getCacheRecord(path, values), 26) << testing::PrintToString(path);
  const std::string start = "1 CFiPblmOps::getCacheRecord ERROR: ";
  EXPECT_EQ(m_recorder.takeBody(), Texts({start + "fgets failure with file=[/dev/null]\n",
                                          start + "fgets failure with file=[/]\n",
                                          start + "fopen failure file=[NULL]\n"}));
}

TEST_F(LunCache, RemovesARecordAndItsMark) {
  put("a", "0");
  m_cache.setLunNumRange(0, 1);
  EXPECT_EQ(freeNumbers(), "1 ");
  EXPECT_EQ(m_cache.rmCacheRecord(lun("a").c_str()), 0);
  EXPECT_EQ(freeNumbers(), "0 1 ");
  EXPECT_EQ(m_cache.rmCacheRecord(lun("a").c_str()), 0) << "nothing is there";
}

TEST_F(LunCache, SaysWhyARecordCannotBeRemoved) {
  const std::string luns = m_folder / "luns";
  EXPECT_EQ(m_cache.rmCacheRecord(luns.c_str()), 26);
  EXPECT_EQ(m_recorder.takeBody(),
            Texts({"1 CFiPblmOps::rmCacheRecord ERROR: Is a directory: [" + luns + "]",
                   "3 INFO:CFiPblmOps::rmCacheRecord failure for removing file=[" + luns + "]"}));
  std::filesystem::create_symlink("loop", lun("loop"));
  EXPECT_EQ(m_cache.rmCacheRecord((lun("loop") + "/x").c_str()), 26)
      << "whether it is there is not known";
}

TEST_F(LunCache, RemovesTheRecordsThatHoldANumber) {
  const std::string gone[] = {lun(kDevice), lun("stray"), m_folder / "devHandle/E1" / kDevice};
  for (const std::string& path : gone) writeFile(path, "255");
  put(kDevice + "2", "5");
  EXPECT_EQ(m_cache.rmLunCacheRecord("E1", 255), 0);
  for (const std::string& path : gone) EXPECT_FALSE(std::filesystem::exists(path)) << path;
  EXPECT_EQ(readFile(lun(kDevice + "2")), "5");
  EXPECT_EQ(traced("devicepath=[stray]"),
            Texts{"1 CFiPblmOps::rmLunPathRecord failed to remove cache record for "
                  "devicepath=[stray]."});
}

}  // namespace
}  // namespace orca_tests
