#ifndef ORCA_SWEEP_LUN_CACHE_H
#define ORCA_SWEEP_LUN_CACHE_H

#include <filesystem>
#include <string>

#include "cfipblm.h"
#include "framework/test_provider.h"

namespace orca_tests {

// A LUN cache of its own with the record of one device.
class LunCache : public ::testing::Test {
 protected:
  LunCache() { writeFile(m_record, ""); }

  int set() const { return orca_pdk::CFiPblmOps().setKeyValue(m_record.c_str(), {"2"}, "E1"); }
  int remove() const { return orca_pdk::CFiPblmOps().rmCacheRecord(m_record.c_str()); }
  // The record as it is before; none for an empty text.
  void begin(const std::string& text) const {
    std::filesystem::remove(m_record);
    if (!text.empty()) writeFile(m_record, text);
  }
  // What the next process proposes of 0 to 3, in one text.
  static std::string freeNumbers() {
    orca_pdk::CFiPblmOps cache;
    cache.setLunNumRange(0, 3);
    Texts out;
    cache.getNewValue("E1", out);
    std::string all;
    for (const std::string& number : out) all += number;
    return all;
  }
  long filesLeft() const {
    const std::filesystem::directory_iterator folder(std::filesystem::path(m_record).parent_path());
    return std::distance(folder, std::filesystem::directory_iterator());
  }

  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  const std::string m_record = m_root.file("lib/orca/cachefiles/luns/E1/UDID##V##P##E1##D");
};

}  // namespace orca_tests

#endif
