#include "support/host_work.h"

namespace orca_tests {
namespace {

TEST_F(HostWork, KnowsEverySnapshotOfBeforeWhereverItIsKilled) {
  TracedSweep{"fihost snapshot", traced(m_taking), [this] { begin(); },
              [this](const TracedEnd&) { expectOrder(); }, 50}
      .killEverywhere();
}

TEST_F(HostWork, ListsASnapshotThatIsThereWhereverADisposeIsKilled) {
  TracedSweep{"fihost dispose", traced({"dispose", m_first}), [this] { begin(); },
              [this](const TracedEnd&) {
                if (std::filesystem::exists(m_first)) {
                  EXPECT_THAT(listed(), testing::Contains(m_first));
                }
                const CommandResult again = run({"dispose", m_first});
                EXPECT_EQ(again.status, listed().empty() ? again.status : 0) << again.err;
                EXPECT_THAT(listed(), testing::IsEmpty());
                EXPECT_EQ(take().status, 0);
              },
              50}
      .killEverywhere();
}

}  // namespace
}  // namespace orca_tests
