#include <sys/syscall.h>

#include <cstring>

#include "support/filesnap_work.h"

namespace orca_tests {
namespace {

using testing::HasSubstr;

class FileSnapCalls : public FileSnapWork, public testing::WithParamInterface<int> {
 protected:
  // Fails every call of some work once. What is told of a failure names its cause, and what only a
  // signal interrupted is done.
  void sweep(const std::string& name, const TracedWork& work, const std::function<void()>& begin,
             const std::function<void(const TracedEnd&)>& look) {
    TracedSweep{name, work, begin,
                [&](const TracedEnd& end) {
                  ASSERT_EQ(end.status, 0) << end.text;
                  if (GetParam() == EINTR) {
                    EXPECT_THAT(end.text, HasSubstr("no error"));
                  }
                  look(end);
                },
                2}
        .failEverywhere(GetParam());
  }
  std::string cause() const { return std::strerror(GetParam()); }
};

TEST_P(FileSnapCalls, MakesAllSnapshotsOfACallOrNone) {
  sweep(
      "filesnap make", making(), [this] { beginWithout(); },
      [this](const TracedEnd& end) {
        std::string told = end.result == 0 ? "no error" : "";
        for (const std::string& one : wholeSnapshots()) told += "\n" + one;
        if (end.result == 0) {
          EXPECT_EQ(end.text, told);
        } else {
          EXPECT_EQ(told, "");
          EXPECT_THAT(end.text, HasSubstr(cause()));
          EXPECT_THAT(end.text, testing::ContainsRegex("No snapshot was made|Nothing was changed"));
        }
        expectOldSources();
      });
}

TEST_P(FileSnapCalls, RestoresOrLeavesTheFileAsItWas) {
  sweep(
      "filesnap restore", restoring(), [this] { beginWithOne(); },
      [this](const TracedEnd& end) {
        const bool isUnsure = end.text.find("was restored, but a crash") != std::string::npos;
        EXPECT_EQ(readFile(m_file), end.result == 0 || isUnsure ? m_old : "other") << end.text;
        EXPECT_THAT(end.text, HasSubstr(end.result == 0 ? "no error" : cause()));
        EXPECT_THAT(wholeSnapshots(), testing::ElementsAre(m_made));
      });
}

TEST_P(FileSnapCalls, DisposesOrLeavesTheSnapshotAsItWas) {
  sweep(
      "filesnap dispose", disposing(), [this] { beginWithOne(); },
      [this](const TracedEnd& end) {
        EXPECT_EQ(wholeSnapshots().size(), end.result == 0 ? 0U : 1U) << end.text;
        EXPECT_THAT(end.text, HasSubstr(end.result == 0 ? "no error" : cause()));
      });
}

TEST_P(FileSnapCalls, FindsASnapshotReadyOrSaysWhyNot) {
  sweep(
      "filesnap status", asking(), [this] { beginWithOne(); },
      [this](const TracedEnd& end) {
        EXPECT_THAT(end.text, HasSubstr(end.result == 8 ? "no error" : cause()));
        if (end.result != 8) {
          EXPECT_EQ(end.result, 1) << end.text;
        }
      });
}

TEST_P(FileSnapCalls, PreparesOrSaysWhyNot) {
  sweep(
      "filesnap prepare", preparing(), [this] { beginWithout(); },
      [](const TracedEnd& end) { EXPECT_EQ(end.result == 0, end.text == "no error") << end.text; });
}

INSTANTIATE_TEST_SUITE_P(Errors, FileSnapCalls, testing::Values(ENOSPC, EIO, EINTR, EMFILE, EACCES),
                         [](const auto& error) { return strerrorname_np(error.param); });

TEST_F(FileSnapWork, SaysThatNothingWasMadeOnlyWhereThatIsSo) {
  int left = 0;
  TracedSweep{"filesnap make", making(), [this] { beginWithout(); },
              [&](const TracedEnd& end) {
                const Names seen = wholeSnapshots();
                if (end.result == 0) return;
                left += seen.empty() ? 0 : 1;
                EXPECT_THAT(end.text, HasSubstr(seen.empty() ? "No snapshot was made." : seen[0]));
              }}
      .failFromEverywhere(ENOSPC, {SYS_fsync, SYS_ftruncate, SYS_mkdirat, SYS_renameat,
                                   SYS_unlinkat, SYS_pwrite64});
  EXPECT_GT(left, 0) << "no snapshot was ever left over";
}

}  // namespace
}  // namespace orca_tests
