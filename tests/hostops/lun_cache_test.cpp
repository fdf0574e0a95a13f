#include "cfipblm.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::tstr;

const std::string kDevice = "UDID##V##P##E1##D";

class LunCache : public ProviderTest {
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
  std::string freeNumbers(const char* enclosure = "E1") {
    m_recorder.lines.clear();
    std::vector<int> out;
    std::string text = m_cache.getNewValue(enclosure, out) ? "" : "refused";
    for (int number : out) text += std::to_string(number) + " ";
    return text;
  }
  int set(const std::string& name, std::vector<std::string> values, const char* id = "E1") {
    return m_cache.setKeyValue(lun(name).c_str(), std::move(values), id);
  }

  std::filesystem::path m_folder = m_root.path() / "lib/orca/cachefiles";
  orca_pdk::CFiPblmOps m_cache;
};

TEST_F(LunCache, ProposesTheFreeNumbersOfItsRangeInOrder) {
  put(kDevice, "3");
  m_cache.setLunNumRange(2, 6);
  EXPECT_EQ(freeNumbers(), "2 4 5 6 ");
  EXPECT_EQ(freeNumbers("e1"), "2 4 5 6 ");
  m_cache.setLunNumRange(3, 3);
  EXPECT_EQ(freeNumbers(), "");
  EXPECT_EQ(m_recorder.lines.back(),
            "6 CFiPblmOps::getNewValue - Unable to suggest a new LUN Number.\n");
  Texts out = {"old"};
  EXPECT_FALSE(m_cache.getNewLunNum("E1", out));
  m_cache.setLunNumRange(254, 300);
  EXPECT_EQ(m_cache.getMinLunNum() * 1000 + m_cache.getMaxLunNum(), 254255u);
  EXPECT_TRUE(m_cache.getNewLunNum("E1", out));
  EXPECT_EQ(out, Texts({"old", "254", "255"}));
}

TEST_F(LunCache, SkipsWhatIsNoRecordWhileItReadsADirectory) {
  for (const char* text : {"2", "-1", "7", "256", "99999999999999999999", "", "abc"})
    put(text + kDevice, text);
  put(".new-1-2", "3");
  std::filesystem::create_directory(lun("folder"));
  mkfifo(lun("fifo").c_str(), 0600);
  std::filesystem::create_symlink("nowhere", lun("link"));
  m_cache.setLunNumRange(1, 6);
  EXPECT_EQ(freeNumbers(), "1 3 4 5 6 ");
  EXPECT_EQ(std::count(m_recorder.lines.begin(), m_recorder.lines.end(),
                       "2 CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[26]."),
            5);
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

TEST_F(LunCache, HasNoMapForAFirstEnclosureWithoutADirectoryOfItsOwn) {
  Texts out;
  for (const char* id : {"none", ".", "../luns/E1", "/", ".."}) {
    EXPECT_EQ(set(kDevice, {"1"}, id), 0);
    EXPECT_EQ(
        m_recorder.lines.back(),
        std::string("1 CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[") + id + "].\n");
    EXPECT_FALSE(m_cache.getNewLunNum(id, out));
  }
  EXPECT_FALSE(m_cache.refreshCache(std::string("E1\0", 3), nullptr));
  EXPECT_FALSE(m_cache.getEnclMap(nullptr, nullptr));
}

TEST_F(LunCache, WritesARecordAndMarksItsNumber) {
  m_cache.setLunNumRange(0, 2);
  EXPECT_EQ(set("big", {"300"}), 0);
  EXPECT_EQ(set(kDevice, {"1"}), 0);
  EXPECT_EQ(m_recorder.lines.back(),
            "6 CFiPblmOps::setKeyValue has set lun num [1] in the lun map.\n");
  EXPECT_EQ(readFile(lun(kDevice)) + readFile(lun("big")), "1300");
  EXPECT_EQ(set(kDevice, {"2"}, nullptr), 3);
  EXPECT_EQ(m_recorder.lines.back(),
            "2 CFiPblmOps::setKeyValue : No entry to be set in the bit Map because enclosureId is "
            "passed as NULL.\n");
  EXPECT_EQ(readFile(lun(kDevice)) + "|" + freeNumbers(), "2|0 2 ");
  std::filesystem::create_hard_link(lun("big"), lun("second"));
  chmod(lun(kDevice).c_str(), 0600);
  EXPECT_EQ(set(kDevice, {"0"}) + set("big", {"400"}), 0);
  EXPECT_EQ(readFile(lun("second")), "400");
  struct stat info;
  EXPECT_EQ(stat(lun(kDevice).c_str(), &info) + (info.st_mode & 0777), 0600);
}

TEST_F(LunCache, ReportsWhatItCannotReadOrWrite) {
  std::filesystem::create_symlink("/dev/full", lun("full"));
  Texts values;
  for (int result : {set("/none/x", {"1"}), set("full", {"1"}), set("full", {}),
                     m_cache.setKeyValue("E1", tstr("stray"), "", 12),
                     m_cache.getCacheRecord("/", values), m_cache.getCacheRecord(nullptr, values)})
    EXPECT_EQ(result, 26);
  const std::string writing = "1 CFiPblmOps::setKeyValue ERROR: ";
  const std::string reading = "1 CFiPblmOps::getCacheRecord ERROR: ";
  const std::string full = writing + "fputs failure with file=[" + lun("full") + "]\n";
  EXPECT_EQ(m_recorder.takeBody(), Texts({writing + "fopen failure file=[/none/x]\n", full, full,
                                          writing + "fopen failure file=[stray]\n",
                                          reading + "fgets failure with file=[/]\n",
                                          reading + "fopen failure file=[NULL]\n"}));
  EXPECT_TRUE(std::filesystem::is_symlink(lun("full")));
}

TEST_F(LunCache, WritesTheDeviceHandleOfADeviceAndReadsFirstLines) {
  const std::string path = m_folder / "devHandle/E1" / kDevice;
  EXPECT_EQ(m_cache.setKeyValue("E1", tstr(kDevice.c_str()), "/dev/sda", 12), 0);
  EXPECT_EQ(m_recorder.lines[1], "6  getdevKey returned [" + path + "]");
  int value = 0;
  EXPECT_EQ(m_cache.getKeyValue(path.c_str(), value) + value, 12);
  put("two", "12\n13\n");
  put("long", std::string(1023, '7') + "8");
  Texts values = {"old"};
  for (const char* name : {"two", "long"})
    EXPECT_EQ(m_cache.getKeyValue(lun(name).c_str(), values), 0);
  EXPECT_EQ(values, Texts({"old", "12\n", std::string(1023, '7')}));
}

TEST_F(LunCache, RemovesARecordAndItsMark) {
  put("a", "0");
  m_cache.setLunNumRange(0, 1);
  EXPECT_EQ(freeNumbers(), "1 ");
  const std::string luns = m_folder / "luns";
  for (const std::string& path : {lun("a"), lun("a"), luns})
    EXPECT_EQ(m_cache.rmCacheRecord(path.c_str()), path == luns ? 26 : 0);
  EXPECT_EQ(m_recorder.lines.back(),
            "3 INFO:CFiPblmOps::rmCacheRecord failure for removing file=[" + luns + "]");
  EXPECT_EQ(freeNumbers(), "0 1 ");
}

TEST_F(LunCache, RemovesTheRecordsThatHoldANumber) {
  const std::string gone[] = {lun(kDevice), lun("stray"), m_folder / "devHandle/E1" / kDevice};
  for (const std::string& path : gone) writeFile(path, "4");
  put(kDevice + "2", "5");
  EXPECT_EQ(m_cache.rmCacheRecord(nullptr) + m_cache.rmLunCacheRecord(nullptr, 4), 3 + 3);
  EXPECT_EQ(m_cache.rmLunCacheRecord("E1", 256) + m_cache.rmLunCacheRecord("none", 4), 3 + 26);
  EXPECT_EQ(m_cache.rmLunCacheRecord("E1", 4), 0);
  for (const std::string& path : gone) EXPECT_FALSE(std::filesystem::exists(path)) << path;
  EXPECT_EQ(readFile(lun(kDevice + "2")), "5");
  EXPECT_EQ(
      std::count(
          m_recorder.lines.begin(), m_recorder.lines.end(),
          "1 CFiPblmOps::rmLunPathRecord failed to remove cache record for devicepath=[stray]."),
      1);
}

}  // namespace
}  // namespace orca_tests
