#include "support/lun_cache.h"
#include "support/traced_work.h"

namespace orca_tests {
namespace {

TEST_F(LunCache, HoldsTheOldRecordOrTheNewWhereverAProcessIsKilled) {
  const struct {
    std::string before, after;
    std::function<int()> action;
  } cases[] = {{"", "2", [this] { return set(); }},
               {"1", "2", [this] { return set(); }},
               {"1", "", [this] { return remove(); }}};
  for (const auto& each : cases) {
    bool hasChanged = false;
    const auto look = [&](const TracedEnd&) {
      const std::string left = readFile(m_record);
      hasChanged = hasChanged || left == each.after;
      EXPECT_EQ(left, hasChanged ? each.after : each.before);
      EXPECT_EQ(freeNumbers(), left == "2" ? "013" : left == "1" ? "023" : "0123");
      EXPECT_EQ(filesLeft(), left.empty() ? 0 : 1) << "the temporary is removed";
    };
    TracedSweep{"LUN record \"" + each.before + "\" to \"" + each.after + "\"",
                TracedWork(each.action), [&] { begin(each.before); }, look}
        .killEverywhere();
  }
}

}  // namespace
}  // namespace orca_tests
