#include <sys/stat.h>

#include "support/lun_cache.h"
#include "support/traced_work.h"

namespace orca_tests {
namespace {

TEST_F(LunCache, AnswersWhatBecameOfARecordWhicheverSystemCallFails) {
  struct stat old {};
  const auto prepare = [&] {
    begin("1");
    ASSERT_EQ(stat(m_record.c_str(), &old), 0);
  };
  for (const int error : {EINTR, ENOSPC, EIO, EMFILE, EACCES}) {
    const auto look = [&](const TracedEnd& end) {
      const std::string left = readFile(m_record);
      EXPECT_EQ(end.result, left == "2" ? 0 : 26);
      EXPECT_EQ(left, error == EINTR || left == "2" ? "2" : "1");
      struct stat now {};
      ASSERT_EQ(stat(m_record.c_str(), &now), 0);
      // Where the folder takes no new file, the old one is written to.
      if (error != EACCES) {
        EXPECT_EQ(now.st_ino != old.st_ino, left == "2") << "replaced, not written to";
      }
      freeNumbers();
      EXPECT_EQ(filesLeft(), 1);
    };
    TracedSweep{"LUN record set", TracedWork([this] { return set(); }), prepare, look, 3}
        .failEverywhere(error);
  }
}

TEST_F(LunCache, RemovesARecordOrSaysThatItIsThereWhicheverSystemCallFails) {
  for (const int error : {EINTR, EIO, EACCES}) {
    TracedSweep{"LUN record removed", TracedWork([this] { return remove(); }),
                [this] { begin("1"); },
                [&](const TracedEnd& end) {
                  EXPECT_EQ(end.result, std::filesystem::exists(m_record) ? 26 : 0);
                },
                0}
        .failEverywhere(error);
  }
}

}  // namespace
}  // namespace orca_tests
