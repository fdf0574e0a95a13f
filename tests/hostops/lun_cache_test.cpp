#include <sys/stat.h>

#include <stdexcept>

#include "cfipblm.h"
#include "hostops/exec_support.h"

namespace orca_tests {
namespace {

using orca_pdk::lunNum;
using orca_pdk::tstr;

const std::string kDevice = "UDID##V##P##E1##D";

class LunCache : public TracedTest {
 protected:
  LunCache() {
    m_cache.registerTraceLog(m_log);
    for (const char* name : {"luns/E1", "devHandle/E1"}) {
      std::filesystem::create_directories(folder(name));
    }
  }
  std::string folder(const std::string& name) const {
    return m_root.file("lib/orca/cachefiles/" + name);
  }
  // The path of a record of enclosure E1.
  std::string lun(const std::string& name) const { return folder("luns/E1/" + name); }
  void put(const std::string& name, const std::string& text) { writeFile(lun(name), text); }
  Texts freeNumbers(const char* enclosure = "E1") {
    Texts out;
    EXPECT_TRUE(m_cache.getNewValue(enclosure, out));
    return out;
  }
  int set(const std::string& path, const char* value, const char* enclosure = "E1") {
    return m_cache.setKeyValue(path.c_str(), {value}, enclosure);
  }
  // The lines since the last call; those of read records only when they could not be read.
  Texts traced() {
    Texts lines = m_recorder.takeBody();
    std::erase_if(lines,
                  [](const std::string& line) { return line.find("got Cache") != line.npos; });
    return lines;
  }
  static long count(const Texts& lines, const std::string& line) {
    return std::count(lines.begin(), lines.end(), line);
  }

  orca_pdk::CFiPblmOps m_cache;
};

TEST_F(LunCache, ProposesTheFreeNumbersInOrder) {
  put(kDevice, "3");
  m_cache.setLunNumRange(2, 6);
  EXPECT_EQ(freeNumbers(), Texts({"2", "4", "5", "6"}));
  EXPECT_EQ(traced(), Texts({"6 CFiPblmOps::fillBitMap has set lun num [3] in the lun map.",
                             "6 CFiPblmOps::getEnclMap got Lun Map for enclId=[E1].\n",
                             "6 CFiPblmOps::getNewLunNum got first Lun num=[2].\n"}));
  std::vector<int> numbers;
  EXPECT_TRUE(m_cache.getNewValue("e1", numbers));
  EXPECT_EQ(numbers, std::vector<int>({2, 4, 5, 6}));
  m_cache.setLunNumRange(3, 3);
  traced();
  EXPECT_EQ(freeNumbers(), Texts());
  EXPECT_EQ(traced(), Texts({"6 CFiPblmOps::getEnclMap got Lun Map for enclId=[E1].\n",
                             "6 CFiPblmOps::getNewLunNum LUN num not able to find free LUN num .\n",
                             "6 CFiPblmOps::getNewValue - Unable to suggest a new LUN Number.\n"}));
  Texts out;
  EXPECT_FALSE(m_cache.getNewLunNum("E1", out));
}

TEST_F(LunCache, BoundsTheRange) {
  m_cache.setLunNumRange(253, 255);
  m_cache.setLunNumRange(253, 300);
  EXPECT_EQ(m_cache.getMinLunNum() * 1000 + m_cache.getMaxLunNum(), 253255u);
  EXPECT_EQ(traced(), Texts({"6 CFiPblmOps::setLunNumRange: bounding to higher limit of [255]."}));
  EXPECT_EQ(freeNumbers(), Texts({"253", "254", "255"}));
}

TEST_F(LunCache, SkipsWhatIsNoRecordWhileItReadsADirectory) {
  const bool isRoot = getuid() == 0;  // who may read every file
  put("good", "2");
  put(".new-1-2", "3");
  for (const char* text : {"-1", "7", "256", "99999999999999999999", "", "abc"})
    put(text + kDevice, text);
  std::filesystem::create_directory(lun("folder"));
  ASSERT_EQ(mkfifo(lun("fifo").c_str(), 0600), 0);
  ASSERT_EQ(symlink("nowhere", lun("link").c_str()), 0);
  put("secret", isRoot ? "7" : "1");
  chmod(lun("secret").c_str(), 0);
  m_cache.setLunNumRange(1, 6);
  EXPECT_EQ(freeNumbers(), Texts({"1", "3", "4", "5", "6"}));
  EXPECT_EQ(count(traced(), "2 CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[26]."),
            isRoot ? 5 : 6);
}

TEST_F(LunCache, ReadsOnlyTheFirstEnclosureFromItsFiles) {
  put(kDevice, "0");
  writeFile(folder("luns/E2/x"), "1");
  m_cache.setLunNumRange(0, 1);
  EXPECT_EQ(freeNumbers("E1"), Texts({"1"}));
  traced();
  EXPECT_EQ(freeNumbers("E2"), Texts({"0", "1"}));
  EXPECT_EQ(traced(), Texts({"6 CFiPblmOps::getEnclMap No Lun Map for enclId=[E2].\n",
                             "6 CFiPblmOps::getEnclMap Added a Lun Map for enclId=[E2].\n",
                             "6 CFiPblmOps::getNewLunNum got first Lun num=[0].\n"}));
  m_cache.fillBitMap(folder("luns/E2/x"), "e2");
  EXPECT_EQ(freeNumbers("E2"), Texts({"0", "1"}));
  lunNum* map = nullptr;
  ASSERT_TRUE(m_cache.getEnclMap("E1", &map));
  EXPECT_EQ(map->next->enclosureId + map->next->next->enclosureId, "E2e2");
}

TEST_F(LunCache, HasNoMapForAFirstEnclosureWithoutADirectoryOfItsOwn) {
  for (const char* id : {"none", "..", ".", "../luns/E1", "/"}) {
    Texts out;
    EXPECT_FALSE(m_cache.getNewLunNum(id, out));
    const std::string path = folder("luns/") + id + "/";
    EXPECT_EQ(traced(),
              Texts({"1 CFiPblmOps::refreshCache opendir failure for path=[" + path + "].",
                     "1 CFiPblmOps::refreshCache scanCache returned false.",
                     "1 CFiPblmOps::getEnclMap refreshCache returned false.",
                     "2 CFiPblmOps::getNewLunNum No Lun map present on the system.\n"}));
  }
  EXPECT_EQ(set(lun(kDevice), "1", ".."), 0);
  EXPECT_EQ(traced().back(), "1 CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[..].\n");
  EXPECT_FALSE(m_cache.refreshCache(std::string("E1\0", 3), nullptr));
  EXPECT_FALSE(m_cache.getEnclMap(nullptr, nullptr));
}

TEST_F(LunCache, WritesARecordAndMarksItsNumber) {
  m_cache.setLunNumRange(0, 2);
  freeNumbers();
  EXPECT_EQ(set(lun(kDevice), "1") + set(lun("big"), "300"), 0);
  EXPECT_EQ(readFile(lun(kDevice)) + readFile(lun("big")), "1300");
  EXPECT_EQ(count(traced(), "6 CFiPblmOps::setKeyValue has set lun num [1] in the lun map.\n"), 1);
  EXPECT_EQ(set(lun(kDevice), "2", nullptr), 3);
  EXPECT_EQ(traced(),
            Texts({"2 CFiPblmOps::setKeyValue : No entry to be set in the bit Map because "
                   "enclosureId is passed as NULL.\n"}));
  EXPECT_EQ(readFile(lun(kDevice)), "2");
  EXPECT_EQ(freeNumbers(), Texts({"0", "2"}));
}

TEST_F(LunCache, ReportsWhatItCannotWrite) {
  const std::string full = lun("full");
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  EXPECT_EQ(set("/none/x", "1") + set(lun(""), "1") + set(full, "1"), 3 * 26);
  EXPECT_EQ(m_cache.setKeyValue(full.c_str(), {}, "E1"), 26);
  EXPECT_EQ(m_cache.setKeyValue(nullptr, {"1"}, "E1"), 26);
  const std::string opening = "1 CFiPblmOps::setKeyValue ERROR: fopen failure file=[";
  const std::string writing = "1 CFiPblmOps::setKeyValue ERROR: fputs failure with file=[";
  EXPECT_EQ(traced(), Texts({opening + "/none/x]\n", opening + lun("") + "]\n",
                             writing + full + "]\n", writing + full + "]\n", opening + "NULL]\n"}));
  EXPECT_TRUE(std::filesystem::is_symlink(full));
}

TEST_F(LunCache, WritesTheDeviceHandleOfADevice) {
  const std::string path = folder("devHandle/E1/" + kDevice);
  EXPECT_EQ(m_cache.setKeyValue("E1", tstr(kDevice.c_str()), "/dev/sda", 12), 0);
  EXPECT_EQ(readFile(path), "12");
  EXPECT_EQ(
      Texts({m_recorder.lines[0], m_recorder.lines[1]}),
      Texts({"6 LUNNO passed to setKeyValue is [12]", "6  getdevKey returned [" + path + "]"}));
  EXPECT_EQ(m_cache.setKeyValue("E1", tstr("stray"), "", 12), 26);
  int value = 0;
  EXPECT_EQ(m_cache.getKeyValue(path.c_str(), value) + value, 12);
}

TEST_F(LunCache, ReadsTheFirstLineOfARecord) {
  put("two", "12\n13\n");
  put("long", std::string(1023, '7') + "8");
  Texts values = {"old"};
  EXPECT_EQ(m_cache.getKeyValue(lun("two").c_str(), values), 0);
  EXPECT_EQ(m_cache.getCacheRecord(lun("long").c_str(), values), 0);
  EXPECT_EQ(values, Texts({"old", "12\n", std::string(1023, '7')}));
  EXPECT_EQ(m_recorder.lines[0], "6 CFiPblmOps::getCacheRecord got Cache Record=[12\n]\n");
  traced();
  for (const char* path : {"/", "/none", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(m_cache.getCacheRecord(path, values), 26);
  }
  EXPECT_EQ(traced(), Texts({"1 CFiPblmOps::getCacheRecord ERROR: fgets failure with file=[/]\n",
                             "1 CFiPblmOps::getCacheRecord ERROR: fopen failure file=[/none]\n",
                             "1 CFiPblmOps::getCacheRecord ERROR: fopen failure file=[NULL]\n"}));
}

TEST_F(LunCache, RemovesARecordAndItsMark) {
  put(kDevice, "0");
  m_cache.setLunNumRange(0, 1);
  EXPECT_EQ(freeNumbers(), Texts({"1"}));
  traced();
  const std::string info = "3 INFO:CFiPblmOps::rmCacheRecord ";
  EXPECT_EQ(m_cache.rmCacheRecord(lun(kDevice).c_str()), 0);
  EXPECT_EQ(traced(), Texts({"6 CFiPblmOps::resetLunNum has reset lun num [0] in the lun map.\n",
                             "6 CFiPblmOps::rmCacheRecord has reset lun num [0] in the lun map.",
                             info + "file=[" + lun(kDevice) + "] removed successfully"}));
  EXPECT_EQ(freeNumbers(), Texts({"0", "1"}));
  EXPECT_EQ(m_cache.rmCacheRecord(lun(kDevice).c_str()), 0);
  EXPECT_EQ(traced().back(),
            "1 CFiPblmOps::rmCacheRecord ignore failure in getCacheRecord err=[26].");
  EXPECT_EQ(m_cache.rmCacheRecord(folder("luns").c_str()), 26);
  EXPECT_EQ(traced(), Texts({info + "failure for removing file=[" + folder("luns") + "]"}));
  EXPECT_EQ(m_cache.rmCacheRecord("") + m_cache.rmCacheRecord(nullptr), 6);
  EXPECT_EQ(traced().back(), "1 INFO:CFiPblmOps::rmCacheRecord - key is empty, nothing to remove.");
}

TEST_F(LunCache, RemovesTheRecordsThatHoldANumber) {
  put(kDevice, "4");
  put(kDevice + "2", "5");
  put("stray", "4");
  put("letters", "abc");
  const std::string handle = folder("devHandle/E1/" + kDevice);
  writeFile(handle, "4");
  EXPECT_EQ(m_cache.rmLunCacheRecord("E1", 4), 0);
  EXPECT_FALSE(std::filesystem::exists(lun(kDevice)) || std::filesystem::exists(handle));
  EXPECT_FALSE(std::filesystem::exists(lun("stray")));
  EXPECT_EQ(readFile(lun(kDevice + "2")), "5");
  const Texts lines = traced();
  const std::string start = "CFiPblmOps::rmLunPathRecord ";
  EXPECT_EQ(count(lines, "6 " + start + "got cache record for lun num [4]."), 2);
  EXPECT_EQ(count(lines, "6 " + start + "successfully removed cache record for lun num [4]."), 2);
  for (const std::string& line :
       {"6 " + start + "successfully removed cache record for devicepath=[" + handle + "].",
        "1 " + start + "failed to remove cache record for devicepath=[stray].",
        "1 " + start + ": getCacheRecord returned err=[26]. Cannot remove the cache record."}) {
    EXPECT_EQ(count(lines, line), 1) << line;
  }
}

TEST_F(LunCache, RefusesToRemoveWithoutAnIdOrOutOfRange) {
  EXPECT_EQ(m_cache.rmLunPathRecord("x", tstr(lun("").c_str()), "E1", nullptr), 3);
  const struct {
    const char* id;
    unsigned int number;
    int result;
    const char* lastLine;
  } cases[] = {{"", 4, 3,
                "3 INFO:CFiPblmOps::rmLunCacheRecord - enclId is empty, cannot identify the cache "
                "record."},
               {nullptr, 4, 3,
                "3 INFO:CFiPblmOps::rmLunCacheRecord - enclId is empty, cannot identify the cache "
                "record."},
               {"E1", 256, 3, "1 CFiPblmOps::rmLunCacheRecord invalid lun num [256] specified.\n"},
               {"none", 4, 26,
                "1 CFiPblmOps::rmLunCacheRecord refreshCache returned failure for lun num [4].\n"}};
  for (const auto& one : cases) {
    EXPECT_EQ(m_cache.rmLunCacheRecord(one.id, one.number), one.result);
    EXPECT_EQ(traced().back(), one.lastLine);
  }
}

TEST_F(LunCache, ThrowsForNumbersThatNoMapCanHold) {
  freeNumbers();
  const auto textOf = [](const auto& call) -> std::string {
    try {
      call();
      return "none";
    } catch (const std::out_of_range& error) {
      return error.what();
    }
  };
  EXPECT_EQ(textOf([this] { m_cache.resetLunNum("/luns/E1/x", 256); }), "bitset::reset");
  EXPECT_EQ(textOf([this] { m_cache.resetLunNum("/luns/other", 256); }), "none");
  lunNum* map = nullptr;
  m_cache.setLunNumRange(257, 300);
  EXPECT_EQ(textOf([&] { m_cache.allocLunNumEle(&map); }), "bitset::set");
  m_cache.setLunNumRange(256, 300);
  EXPECT_EQ(m_cache.allocLunNumEle(&map), 0);
  EXPECT_TRUE(map->used.all() && map->enclosureId.empty());
  delete map;
  g_failingAllocation = 1;
  EXPECT_EQ(m_cache.allocLunNumEle(&map), 5);
  EXPECT_EQ(traced().back(), "1 CFiPblmOps::allocLunNumEle: new memory allocation failure.");
}

}  // namespace
}  // namespace orca_tests
