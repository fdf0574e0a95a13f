#include "cfipblm.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using orca_pdk::lunNum;
using orca_pdk::tstr;

const std::string kDevice = "UDID##V##P##E1##D";

std::string replaced(std::string text, const std::string& old, const std::string& with) {
  for (size_t at = 0; (at = text.find(old, at)) != text.npos; at += with.size())
    text.replace(at, old.size(), with);
  return text;
}

class LunCache : public TracedTest {
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
  // A result and below it the traced lines since the last call, but none of records that were read.
  // "~" stands for the folder, "@" for the class, "$" for a newline within a traced text.
  std::string told(const std::string& result) {
    std::string text = result;
    for (std::string line : m_recorder.takeBody()) {
      std::replace(line.begin(), line.end(), '\n', '$');
      if (!line.starts_with("6 CFiPblmOps::getCacheRecord")) text += "\n" + line;
    }
    return replaced(replaced(text, "CFiPblmOps::", "@"), m_folder.string(), "~");
  }
  std::string told(int result) { return told(std::to_string(result)); }

  std::filesystem::path m_folder = m_root.path() / "lib/orca/cachefiles";
  orca_pdk::CFiPblmOps m_cache;
};

TEST_F(LunCache, ProposesTheFreeNumbersOfItsRangeInOrder) {
  put(kDevice, "3");
  m_cache.setLunNumRange(2, 6);
  EXPECT_EQ(told(freeNumbers()), R"(2 4 5 6 
6 @fillBitMap has set lun num [3] in the lun map.
6 @getEnclMap got Lun Map for enclId=[E1].$
6 @getNewLunNum got first Lun num=[2].$)");
  EXPECT_EQ(freeNumbers("e1"), "2 4 5 6 ");
  m_cache.setLunNumRange(3, 3);
  EXPECT_EQ(told(freeNumbers()), R"(
6 @getEnclMap got Lun Map for enclId=[E1].$
6 @getNewLunNum LUN num not able to find free LUN num .$
6 @getNewValue - Unable to suggest a new LUN Number.$)");
  Texts out = {"old"};
  EXPECT_FALSE(m_cache.getNewLunNum("E1", out));
  m_cache.setLunNumRange(254, 300);
  EXPECT_EQ(m_recorder.lines.back(),
            "6 CFiPblmOps::setLunNumRange: bounding to higher limit of [255].");
  EXPECT_EQ(m_cache.getMinLunNum() * 1000 + m_cache.getMaxLunNum(), 254255u);
  EXPECT_TRUE(m_cache.getNewLunNum("E1", out));
  EXPECT_EQ(out, Texts({"old", "254", "255"}));
}

TEST_F(LunCache, SkipsWhatIsNoRecordWhileItReadsADirectory) {
  const bool isRoot = getuid() == 0;  // who may read every file
  for (const char* text : {"2", "-1", "7", "256", "99999999999999999999", "", "abc"})
    put(text + kDevice, text);
  put(".new-1-2", "3");
  put("secret", isRoot ? "7" : "1");
  std::filesystem::create_directory(lun("folder"));
  mkfifo(lun("fifo").c_str(), 0600);
  std::filesystem::create_symlink("nowhere", lun("link"));
  chmod(lun("secret").c_str(), 0);
  m_cache.setLunNumRange(1, 6);
  EXPECT_EQ(freeNumbers(), "1 3 4 5 6 ");
  EXPECT_EQ(std::count(m_recorder.lines.begin(), m_recorder.lines.end(),
                       "2 CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[26]."),
            isRoot ? 5 : 6);
}

TEST_F(LunCache, ReadsOnlyTheFirstEnclosureFromItsFiles) {
  put(kDevice, "0");
  writeFile(m_folder / "luns/E2/x", "1");
  m_cache.setLunNumRange(0, 1);
  EXPECT_EQ(freeNumbers("E1"), "1 ");
  EXPECT_EQ(freeNumbers("E2"), "0 1 ");
  m_cache.fillBitMap(m_folder / "luns/E2/x", "e2");
  EXPECT_EQ(freeNumbers("E2"), "0 1 ");
  lunNum* map = nullptr;
  ASSERT_TRUE(m_cache.getEnclMap("E1", &map));
  EXPECT_EQ(map->next->enclosureId + map->next->next->enclosureId, "E2e2");
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
  freeNumbers();
  told("");
  EXPECT_EQ(told(set("big", {"300"})), "0\n6 @getEnclMap got Lun Map for enclId=[E1].$");
  EXPECT_EQ(told(set(kDevice, {"1"})), R"(0
6 @getEnclMap got Lun Map for enclId=[E1].$
6 @setKeyValue has set lun num [1] in the lun map.$)");
  EXPECT_EQ(readFile(lun(kDevice)) + readFile(lun("big")), "1300");
  EXPECT_EQ(told(set(kDevice, {"2"}, nullptr)), R"(3
2 @setKeyValue : No entry to be set in the bit Map because enclosureId is passed as NULL.$)");
  EXPECT_EQ(readFile(lun(kDevice)) + "|" + freeNumbers(), "2|0 2 ");
}

TEST_F(LunCache, ReportsWhatItCannotReadOrWrite) {
  std::filesystem::create_symlink("/dev/full", lun("full"));
  Texts values;
  for (int result : {set("/none/x", {"1"}), set("full", {"1"}), set("full", {}),
                     m_cache.setKeyValue("E1", tstr("stray"), "", 12),
                     m_cache.getCacheRecord("/", values), m_cache.getCacheRecord(nullptr, values)})
    EXPECT_EQ(result, 26);
  EXPECT_EQ(told(""), R"(
1 @setKeyValue ERROR: fopen failure file=[/none/x]$
1 @setKeyValue ERROR: fputs failure with file=[~/luns/E1/full]$
1 @setKeyValue ERROR: fputs failure with file=[~/luns/E1/full]$
1 @setKeyValue ERROR: fopen failure file=[stray]$
1 @getCacheRecord ERROR: fgets failure with file=[/]$
1 @getCacheRecord ERROR: fopen failure file=[NULL]$)");
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
  m_recorder.lines.clear();
  for (const std::string& path : {lun("a"), lun("a"), (m_folder / "luns").string()})
    EXPECT_EQ(m_cache.rmCacheRecord(path.c_str()), path == m_folder / "luns" ? 26 : 0);
  EXPECT_EQ(told(""), R"(
6 @resetLunNum has reset lun num [0] in the lun map.$
6 @rmCacheRecord has reset lun num [0] in the lun map.
3 INFO:@rmCacheRecord file=[~/luns/E1/a] removed successfully
1 @getCacheRecord ERROR: fopen failure file=[~/luns/E1/a]$
1 @rmCacheRecord ignore failure in getCacheRecord err=[26].
3 INFO:@rmCacheRecord failure for removing file=[~/luns])");
  EXPECT_EQ(freeNumbers(), "0 1 ");
}

TEST_F(LunCache, RemovesTheRecordsThatHoldANumber) {
  const std::string gone[] = {lun(kDevice), lun("stray"), m_folder / "devHandle/E1" / kDevice};
  for (const std::string& path : gone) writeFile(path, "4");
  put(kDevice + "2", "5");
  EXPECT_EQ(m_cache.rmLunCacheRecord("E1", 4), 0);
  for (const std::string& path : gone) EXPECT_FALSE(std::filesystem::exists(path)) << path;
  EXPECT_EQ(readFile(lun(kDevice + "2")), "5");
  EXPECT_EQ(
      std::count(
          m_recorder.lines.begin(), m_recorder.lines.end(),
          "1 CFiPblmOps::rmLunPathRecord failed to remove cache record for devicepath=[stray]."),
      1);
}

TEST_F(LunCache, RefusesToRemoveWithoutAnIdOrOutOfRange) {
  for (const char* none : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(told(m_cache.rmCacheRecord(none)),
              "3\n1 INFO:@rmCacheRecord - key is empty, nothing to remove.");
    EXPECT_EQ(m_cache.rmLunCacheRecord(none, 4), 3);
    told("");
  }
  EXPECT_EQ(told(m_cache.rmLunCacheRecord("E1", 256)),
            "3\n1 @rmLunCacheRecord invalid lun num [256] specified.$");
  EXPECT_EQ(m_cache.rmLunCacheRecord("none", 4), 26);
}

TEST_F(LunCache, ThrowsForNumbersThatNoMapCanHold) {
  freeNumbers();
  m_cache.resetLunNum("/luns/other", 256);
  EXPECT_THROW(m_cache.resetLunNum("/luns/E1/x", 256), std::out_of_range);
  lunNum* map = nullptr;
  m_cache.setLunNumRange(257, 300);
  EXPECT_THROW(m_cache.allocLunNumEle(&map), std::out_of_range);
}

}  // namespace
}  // namespace orca_tests
