#include <cstring>

#include "support/array_work.h"

namespace orca_tests {
namespace {

using testing::HasSubstr;

constexpr int kErrors[] = {ENOSPC, EIO, EINTR, EMFILE, EACCES};

TEST_F(FiArrayWork, SaysWhyACommandFailedAndCanRepeatIt) {
  for (const std::string& words : kArrayCommands) {
    const std::string expected = this->expected(words);
    for (const int error : kErrors) {
      TracedSweep{"fiarray " + words, command(words), [this] { begin(); },
                  [&](const TracedEnd& end) {
                    ASSERT_TRUE(WIFEXITED(end.status)) << end.text;
                    if (end.result != 0) {
                      EXPECT_THAT(end.text, HasSubstr("fiarray: "));
                      EXPECT_THAT(end.text, HasSubstr(std::strerror(error)));
                    }
                    m_array.ok("list");
                    EXPECT_THAT(readFile(m_array.image("D1")), testing::AnyOf(m_old, m_new));
                    std::string after = finish(words);
                    if (after.find("state=failed") != std::string::npos) {
                      m_array.ok("forget E1 D1");  // a copy that failed on its way stays failed
                      after = finish(words);
                    }
                    EXPECT_EQ(after, expected);
                  },
                  2}
          .failEverywhere(error);
    }
  }
}

class ArraySnapCalls : public ArrayImportWork, public testing::WithParamInterface<int> {};

TEST_P(ArraySnapCalls, ImportsOrSaysWhyNot) {
  TracedSweep{"arraysnap import", importing(), [this] { beginUnmapped(); },
              [this](const TracedEnd& end) {
                ASSERT_EQ(end.status, 0) << end.text;
                if (end.result == 0) {
                  EXPECT_EQ(number(), lun("D0"));
                  EXPECT_NE(number(), "");
                } else {
                  EXPECT_THAT(end.text, testing::StartsWith("arraysnap: "));
                }
                expectAgreement();
              },
              2}
      .failEverywhere(GetParam());
}

TEST_P(ArraySnapCalls, DeportsOrSaysWhyNot) {
  TracedSweep{"arraysnap deport", deporting(), [this] { beginMapped(); },
              [this](const TracedEnd& end) {
                ASSERT_EQ(end.status, 0) << end.text;
                if (end.result == 0) {
                  EXPECT_EQ(number(), "");
                  EXPECT_EQ(lun("D0"), "");
                } else {
                  EXPECT_THAT(end.text, testing::StartsWith("arraysnap: "));
                }
                expectAgreement();
              },
              2}
      .failEverywhere(GetParam());
}

class ArrayCloneCalls : public ArrayCloneWork, public testing::WithParamInterface<int> {
 protected:
  // Fails every call of some work once. What a signal interrupted is done; any other failure is
  // explained, and the array is what the message says that it is.
  void sweep(const std::string& name, const TracedWork& work, const std::function<void()>& begin,
             const std::string& before, const std::string& after) {
    TracedSweep{"arraysnap " + name, work, begin,
                [&](const TracedEnd& end) {
                  ASSERT_EQ(end.status, 0) << end.text;
                  if (GetParam() == EINTR) {
                    EXPECT_EQ(end.text, "no error");
                  }
                  if (end.result == 0) {
                    EXPECT_EQ(shown(), after);
                  } else {
                    EXPECT_THAT(end.text, testing::StartsWith("arraysnap: "));
                    EXPECT_THAT(end.text, testing::Not(HasSubstr("errno=")));
                    if (end.text.find("not known") == end.text.npos) {
                      EXPECT_EQ(shown(), before) << end.text;
                    }
                  }
                  expectOrder();
                },
                2}
        .failEverywhere(GetParam());
  }
};

TEST_P(ArrayCloneCalls, PreparesOrSaysWhyNot) {
  sweep(
      "prepare", preparing(), [this] { beginWithout(); }, m_without, m_without);
}

TEST_P(ArrayCloneCalls, MakesASnapshotOrSaysWhyNot) {
  sweep(
      "make", making(), [this] { beginWithout(); }, m_without, m_with);
}

TEST_P(ArrayCloneCalls, DisposesOrSaysWhyNot) {
  sweep(
      "dispose", disposing(), [this] { beginWith(); }, m_with, m_without);
}

INSTANTIATE_TEST_SUITE_P(Errors, ArrayCloneCalls, testing::ValuesIn(kErrors),
                         [](const auto& error) { return strerrorname_np(error.param); });
INSTANTIATE_TEST_SUITE_P(Errors, ArraySnapCalls, testing::ValuesIn(kErrors),
                         [](const auto& error) { return strerrorname_np(error.param); });

}  // namespace
}  // namespace orca_tests
