#include "support/btrfssnap_work.h"

namespace orca_tests {
namespace {

TEST_F(BtrfsSnapWork, MakesSnapshotsWholeOrNotAtAllWhereverItIsKilled) {
  TracedSweep{"btrfssnap make", making(), [this] { beginWithout(); },
              [this](const TracedEnd&) {
                wholeSnapshots();
                expectOldSources();
              }}
      .killEverywhere();
}

TEST_F(BtrfsSnapWork, RestoresWhollyOrNotAtAllWhereverItIsKilled) {
  TracedSweep{"btrfssnap restore", restoring(), [this] { beginWithOne(); },
              [this](const TracedEnd&) {
                EXPECT_THAT(wholeSnapshots(), testing::ElementsAre(m_made));
                EXPECT_EQ(status(m_made, m_vol), 8) << lastError();
                EXPECT_THAT(content(), testing::AnyOf("other", "first"));
              }}
      .killEverywhere();
}

TEST_F(BtrfsSnapWork, KeepsWhatARestoreReplacedWhereverItIsKilled) {
  const auto begin = [this] {
    beginWithOne();
    ASSERT_EQ(set(m_vol, {{"keep_replaced", "true"}}), 0);
  };
  TracedSweep{"btrfssnap restore, kept", restoring(), begin,
              [this](const TracedEnd&) {
                ASSERT_EQ(prepare(m_sources), 0) << lastError();
                int others = content() == "other" ? 1 : 0;
                for (const std::string& one : contents(m_folder)) {
                  others += readFile(one + "/file") == "other" ? 1 : 0;
                }
                EXPECT_EQ(others, 1);
                EXPECT_EQ(dispose(m_made), 0) << lastError();
                EXPECT_THAT(namesIn(m_data), testing::ElementsAre("second", "vol"));
              }}
      .killEverywhere();
}

TEST_F(BtrfsSnapWork, RemovesASnapshotWhollyOrNotAtAllWhereverItIsKilled) {
  TracedSweep{"btrfssnap dispose", disposing(), [this] { beginWithOne(); },
              [this](const TracedEnd&) {
                EXPECT_THAT(wholeSnapshots(), testing::IsSubsetOf({m_made}));
                EXPECT_EQ(content(), "other");
              }}
      .killEverywhere();
}

TEST_F(BtrfsSnapWork, ImportsAgainWhereverItIsKilled) {
  const auto look = [this](const TracedEnd&) {
    const std::string place = import(m_made);
    EXPECT_EQ(readFile(place + "/file"), "first") << lastError();
    EXPECT_EQ(deport(m_made), 0) << lastError();
    EXPECT_FALSE(std::filesystem::exists(m_imports));
  };
  TracedSweep{"btrfssnap import", importing(), [this] { beginWithOne(); }, look}.killEverywhere();
  const auto begin = [this] {
    beginWithOne();
    import(m_made);
  };
  TracedSweep{"btrfssnap deport", deporting(), begin, look}.killEverywhere();
}

}  // namespace
}  // namespace orca_tests
