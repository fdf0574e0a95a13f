#include <fcntl.h>
#include <unistd.h>

#include "cficonfiguration.h"
#include "cfipblm.h"
#include "support/short_memory.h"
#include "support/temp_dir.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

constexpr char kId[] = "an-enclosure-with-a-long-name";
constexpr char kUdid[] = "UDID##V##P##an-enclosure-with-a-long-name##D";

struct StoreMemory : ::testing::Test {
  // Files are written and read here without an allocation.
  void put(const char* text) const {
    const int fd = open(lun.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    EXPECT_EQ(write(fd, text, 1), 1);
    close(fd);
  }
  std::string content() const {
    char text[2] = "-";
    const int fd = open(lun.c_str(), O_RDONLY);
    static_cast<void>(!read(fd, text, 1));
    close(fd);
    return text;
  }
  // The free numbers of 0 to 3.
  static std::string freeNumbers(CFiPblmOps& cache) {
    std::vector<std::string> out;
    std::string text;
    cache.getNewLunNum(kId, out);
    for (const std::string& number : out) text += number;
    return text;
  }

  TempDir temp;
  ScopedEnv root{"ORCA_INSTALL_ROOT", temp.str().c_str()};
  const std::string cache = temp.file("lib/orca/cachefiles/");
  const std::string lun = cache + "luns/" + kId + "/" + kUdid;
};

TEST_F(StoreMemory, ProposesAllFreeNumbersOrNone) {
  writeFile(lun + "2", "2");
  const auto propose = [] {
    CFiPblmOps numbers;
    numbers.setLunNumRange(0, 3);
    const std::string first = freeNumbers(numbers);
    return first + "|" + freeNumbers(numbers);
  };
  ShortMemory{"getNewLunNum", propose,
              [](const auto& result) { return result == "|013" || result == "013|"; }}
      .sweep();
}

TEST_F(StoreMemory, LeavesARecordAsItWasOrMarksItsNumber) {
  writeFile(lun + "2", "2");
  const auto set = [this] {
    put("1");
    CFiPblmOps numbers;
    numbers.setLunNumRange(0, 3);
    freeNumbers(numbers);
    std::vector<std::string> values{"3"};
    const int result = numbers.setKeyValue(lun.c_str(), std::move(values), kId);
    return std::to_string(result) + content() + freeNumbers(numbers);
  };
  ShortMemory{
      "setKeyValue", set,
      [](const auto& result) { return result == "5103" || result == "0301" || result == "03"; }}
      .sweep();
}

TEST_F(StoreMemory, AnswersWhetherARecordWasRemoved) {
  writeFile(lun + "2", "2");
  const auto remove = [this] {
    put("1");
    const int result = CFiPblmOps().rmLunCacheRecord(kId, 1);
    return std::to_string(result) + content();
  };
  ShortMemory{"rmLunCacheRecord", remove, [](const auto& result) { return result == "261"; }}
      .sweep();
}

TEST_F(StoreMemory, GivesTheWholePathOfADevice) {
  const tstr device(kUdid);
  const auto get = [&] {
    tstr key;
    CFiConfigurationPathTool::getDevKey(device, key);
    return std::string(key.c_str());
  };
  writeFile(cache + "devHandle/" + kId + "/x", "");
  EXPECT_EQ(get(), cache + "devHandle/" + kId + "/" + kUdid);
  ShortMemory{"getDevKey", get}.sweep();
}

TEST_F(StoreMemory, GivesWholeCredentials) {
  const std::string login =
      "\"HOSTNAME\"=\"host.example.org\"\n\"USERNAME\"=\"administrator\"\n"
      "\"PASSWORD\"=\"correct horse battery\"\n";
  writeFile(temp.file("c.conf"), "[C\\one]\n" + login + "[C\\two]\n" + login);
  CFiConfiguration config((temp.str() + "/").c_str(), "c.conf", true);
  const std::string text = "[STORAGE_MANAGEMENT_SERVICE\\1\\acme]\n" + login;
  const auto parse = [&] {
    std::string all;
    std::vector<SFiCredential> out;
    try {
      out = config.importCredentials("", "", "C", false);
      CFiCredentialsParser().parse(text + text, "", "", out, false);
    } catch (const std::bad_alloc&) {
      ACE_Configuration_Section_Key same;
      config.openSection("C\\two", same, 0);  // what the store keeps of it is no leak
      return out.size() < 2 ? all : "half of them";
    }
    for (const SFiCredential& each : out)
      all.append(each.hostname.c_str()).append(each.password.c_str());
    return all;
  };
  ShortMemory{"importCredentials", parse}.sweep();
}

TEST_F(StoreMemory, TakesASectionThatFoundNoMemoryForAbsent) {
  CFiConfiguration config;
  ACE_Configuration_Section_Key section;
  config.openSection("A\\B", section, 1);
  ACE_Configuration_Heap& heap = config.configHeap();
  const auto open = [&] {
    ACE_Configuration_Section_Key key;
    return std::to_string(heap.expand_path(heap.root_section(), "A\\B", key, 0));
  };
  const auto isAbsent = [](const std::string& result) { return result == "-1"; };
  ShortMemory{"expand_path", open, isAbsent, true}.sweep();
}

}  // namespace
}  // namespace orca_tests
