#include "support/record_work.h"

namespace orca_tests {
namespace {

using testing::AnyOf;

TEST_F(FiRecordWork, LosesNoCallButThatOfTheKilledProcess) {
  TracedSweep{"firecord --to", traced(recording("3")), [this] { begin(); },
              [this](const TracedEnd&) {
                record("4");
                EXPECT_EQ(played("12"), "1\n2\n");
                EXPECT_THAT(played("34"), AnyOf("3\n4\n", "4\n"));
              }}
      .killEverywhere();
}

TEST_F(FiRecordWork, GoesOnWithTheNextCallOrTheSameAfterAKill) {
  TracedSweep{"firecord --from", traced(playing("1")), [this] { begin(); },
              [this](const TracedEnd&) { EXPECT_THAT(played("12"), AnyOf("1\n2\n", "2\n")); }}
      .killEverywhere();
}

}  // namespace
}  // namespace orca_tests
