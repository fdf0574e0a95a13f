#include "support/array_work.h"

namespace orca_tests {
namespace {

TEST_F(FiArrayWork, LeavesAnArrayOnWhichAKilledCommandCanBeRepeated) {
  for (const std::string& words : kArrayCommands) {
    const std::string expected = this->expected(words);
    TracedSweep{"fiarray " + words, command(words), [this] { begin(); },
                [&](const TracedEnd&) {
                  m_array.ok("list");
                  EXPECT_THAT(readFile(m_array.image("D1")), testing::AnyOf(m_old, m_new));
                  EXPECT_EQ(finish(words), expected);
                }}
        .killEverywhere();
  }
}

TEST_F(ArrayImportWork, AgreesWithTheArrayWhereverAnImportIsKilled) {
  TracedSweep{"arraysnap import", importing(), [this] { beginUnmapped(); },
              [this](const TracedEnd&) {
                const std::string shown = number();
                if (shown != "") {
                  EXPECT_EQ(lun("D0"), shown) << "mapped without a record";
                }
                expectAgreement();
              }}
      .killEverywhere();
}

TEST_F(ArrayImportWork, AgreesWithTheArrayWhereverADeportIsKilled) {
  TracedSweep{"arraysnap deport", deporting(), [this] { beginMapped(); },
              [this](const TracedEnd&) {
                if (number() != "") {
                  EXPECT_EQ(lun("D0"), number()) << "mapped without a record";
                }
                expectAgreement();
              }}
      .killEverywhere();
}

TEST_F(ArrayCloneWork, LeavesNothingThatDisposeDoesNotRemoveWhereverMakeIsKilled) {
  TracedSweep{"arraysnap make", making(), [this] { beginWithout(); },
              [this](const TracedEnd&) { expectOrder(); }}
      .killEverywhere();
}

TEST_F(ArrayCloneWork, LeavesASnapshotThatCanBeDisposedOfWhereverDisposeIsKilled) {
  TracedSweep{"arraysnap dispose", disposing(), [this] { beginWith(); },
              [this](const TracedEnd&) {
                EXPECT_THAT(shown(), testing::AnyOf(m_with, m_without));
                expectOrder();
              }}
      .killEverywhere();
}

}  // namespace
}  // namespace orca_tests
