#include <cstring>

#include "support/btrfssnap_work.h"

namespace orca_tests {
namespace {

using testing::HasSubstr;

class BtrfsSnapCalls : public BtrfsSnapWork, public testing::WithParamInterface<int> {
 protected:
  // Fails every call of some work once. What is told of a failure names its cause.
  void sweep(const std::string& name, const TracedWork& work, const std::function<void()>& begin,
             const std::function<void(const TracedEnd&)>& look) {
    TracedSweep{name, work, begin,
                [&](const TracedEnd& end) {
                  ASSERT_EQ(end.status, 0) << end.text;
                  if (end.result != 0) {
                    EXPECT_THAT(end.text, HasSubstr(std::strerror(GetParam())));
                  }
                  look(end);
                },
                2}
        .failEverywhere(GetParam());
  }
};

TEST_P(BtrfsSnapCalls, MakesAllSnapshotsOfACallOrNone) {
  sweep(
      "btrfssnap make", making(), [this] { beginWithout(); },
      [this](const TracedEnd& end) {
        EXPECT_EQ(wholeSnapshots().size(), end.result == 0 ? 2U : 0U) << end.text;
        expectOldSources();
      });
}

TEST_P(BtrfsSnapCalls, RestoresOrLeavesTheSubvolumeAsItWas) {
  sweep(
      "btrfssnap restore", restoring(), [this] { beginWithOne(); },
      [this](const TracedEnd& end) {
        const bool isUnsure = end.text.find("was restored, but a crash") != std::string::npos;
        EXPECT_EQ(content(), end.result == 0 || isUnsure ? "first" : "other") << end.text;
        EXPECT_THAT(wholeSnapshots(), testing::ElementsAre(m_made));
        EXPECT_EQ(status(m_made, m_vol), 8) << lastError();
      });
}

TEST_P(BtrfsSnapCalls, DisposesOrLeavesTheSnapshotAsItWas) {
  sweep(
      "btrfssnap dispose", disposing(), [this] { beginWithOne(); },
      [this](const TracedEnd& end) {
        const bool isUnsure = end.text.find("was removed, but a crash") != std::string::npos;
        EXPECT_EQ(wholeSnapshots().size(), end.result == 0 || isUnsure ? 0U : 1U) << end.text;
      });
}

TEST_P(BtrfsSnapCalls, ImportsOrSaysWhyNot) {
  sweep(
      "btrfssnap import", importing(), [this] { beginWithOne(); },
      [this](const TracedEnd& end) {
        if (end.result != 0) return;
        EXPECT_EQ(end.text, "no error\n" + import(m_made));
      });
}

INSTANTIATE_TEST_SUITE_P(Errors, BtrfsSnapCalls,
                         testing::Values(ENOSPC, EIO, EINTR, EMFILE, EACCES),
                         [](const auto& error) { return strerrorname_np(error.param); });

}  // namespace
}  // namespace orca_tests
