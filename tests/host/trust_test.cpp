#include "host_fixture.h"

namespace {

using namespace orca_tests;
using testing::HasSubstr;

// The host says what it knows, whatever a provider or a user makes of it.
class Trust : public Host {};

TEST_F(Trust, KeepsTheWholePathOfANodeWhereverItIsAskedFrom) {
  for (const char* folder : {"x", "y"}) writeFile(m_dir.path() / folder / "data/a", folder);
  const CommandResult taken = runIn("x", withPlugin("snapshot", {"data/./a"}));
  ASSERT_EQ(taken.status, 0) << taken.err;
  EXPECT_EQ(runJson({"list"}, 0)["snapshots"][0]["node"], m_dir.file("x/data/a"));
  EXPECT_THAT(runIn("y", {"restore", "snap:" + m_dir.file("x/data/a")}).out,
              HasSubstr("restored " + m_dir.file("x/data/a")));
  const CommandResult twice = runIn("x", withPlugin("snapshot", {"data/a", "../x/data/../data/a"}));
  EXPECT_EQ(twice.status, 2);
  EXPECT_THAT(twice.err, HasSubstr(m_dir.file("x/data/a") + "\" given twice"));
}

TEST_F(Trust, LeavesAFileAloneWhoseNameTheStateKeepsWithoutItsFolder) {
  runJson(withPlugin("snapshot", {"/data/a"}), 0);
  std::string state = readFile(m_dir.file("state/state.json"));
  for (std::size_t at; (at = state.find("/data/a")) != std::string::npos;) {
    state.replace(at, 7, "relative");
  }
  writeFile(m_dir.file("state/state.json"), state);
  writeFile(m_dir.file("relative"), "");
  const CommandResult result = runIn("", {"restore", "snap:relative"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr("in a folder that is not known; here that is another file"));
}

}  // namespace
