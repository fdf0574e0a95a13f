#include <cstring>

#include "support/record_work.h"

namespace orca_tests {
namespace {

using testing::HasSubstr;

class FiRecordCalls : public FiRecordWork, public testing::WithParamInterface<int> {
 protected:
  void sweep(const std::string& name, const std::vector<std::string>& command,
             const std::function<void(const TracedEnd&)>& look) {
    TracedSweep{name, traced(command), [this] { begin(); },
                [&](const TracedEnd& end) {
                  ASSERT_TRUE(WIFEXITED(end.status)) << end.text;
                  if (end.result != 3) {
                    EXPECT_NE(GetParam(), EINTR) << end.text;
                    EXPECT_THAT(end.result, testing::AnyOf(125, 126)) << end.text;
                    EXPECT_THAT(end.text, HasSubstr("firecord: "));
                    EXPECT_THAT(end.text, HasSubstr(std::strerror(GetParam())));
                  }
                  look(end);
                },
                2}
        .failEverywhere(GetParam());
  }
};

TEST_P(FiRecordCalls, RecordsACallOrSaysWhyNot) {
  sweep("firecord --to", recording("3"), [this](const TracedEnd& end) {
    record("4");
    EXPECT_EQ(played(end.result == 3 ? "1234" : "124"),
              end.result == 3 ? "1\n2\n3\n4\n" : "1\n2\n4\n");
  });
}

TEST_P(FiRecordCalls, PlaysACallOrSaysWhyNot) {
  sweep("firecord --from", playing("1"), [this](const TracedEnd& end) {
    if (end.result == 3) {
      EXPECT_EQ(end.text, "1\n");
    }
    const bool isLost = end.text.find("output: ") != std::string::npos;
    EXPECT_EQ(played("12"), end.result == 3 || isLost ? "2\n" : "1\n2\n") << end.text;
  });
}

INSTANTIATE_TEST_SUITE_P(Errors, FiRecordCalls, testing::Values(ENOSPC, EIO, EINTR, EMFILE, EACCES),
                         [](const auto& error) { return strerrorname_np(error.param); });

}  // namespace
}  // namespace orca_tests
