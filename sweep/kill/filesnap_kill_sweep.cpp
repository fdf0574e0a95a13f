#include "support/filesnap_work.h"

namespace orca_tests {
namespace {

TEST_F(FileSnapWork, MakesSnapshotsWholeOrNotAtAllWhereverItIsKilled) {
  TracedSweep{"filesnap make", making(), [this] { beginWithout(); },
              [this](const TracedEnd&) {
                wholeSnapshots();
                expectOldSources();
              }}
      .killEverywhere();
}

TEST_F(FileSnapWork, RestoresWhollyOrNotAtAllWhereverItIsKilled) {
  TracedSweep{"filesnap restore", restoring(), [this] { beginWithOne(); },
              [this](const TracedEnd&) {
                EXPECT_THAT(wholeSnapshots(), testing::ElementsAre(m_made));
                EXPECT_THAT(readFile(m_file), testing::AnyOf("other", m_old));
              }}
      .killEverywhere();
}

TEST_F(FileSnapWork, RemovesASnapshotWhollyOrNotAtAllWhereverItIsKilled) {
  TracedSweep{"filesnap dispose", disposing(), [this] { beginWithOne(); },
              [this](const TracedEnd&) {
                EXPECT_THAT(wholeSnapshots(), testing::IsSubsetOf({m_made}));
                EXPECT_EQ(readFile(m_file), "other");
              }}
      .killEverywhere();
}

}  // namespace
}  // namespace orca_tests
