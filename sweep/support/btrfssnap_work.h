#ifndef ORCA_SWEEP_BTRFSSNAP_WORK_H
#define ORCA_SWEEP_BTRFSSNAP_WORK_H

#include "examples/btrfssnap_fixture.h"
#include "support/traced_work.h"

namespace orca_tests {

// btrfssnap with two subvolumes, whose operations run in traced processes. A case begins without
// snapshots, or with one of the first subvolume (m_made) restorable over other content.
class BtrfsSnapWork : public BtrfsSnapTest {
 protected:
  void SetUp() override {
    BtrfsSnapTest::SetUp();
    if (IsSkipped()) return;
    create(m_second);
    writeFile(m_second + "/file", "first");
    prepare(m_volumes);
    lastError();  // the catalog is open from now on
  }

  void beginWithout() {
    if (!m_made.empty()) {
      deport(m_made);
      dispose(m_made);  // first, since it takes what was kept for it along
    }
    ASSERT_EQ(prepare(m_volumes), 0) << lastError();
    for (const std::string& one : contents(m_folder)) EXPECT_EQ(dispose(one), 0) << lastError();
    ASSERT_EQ(prepare(m_volumes), 0) << lastError();
  }
  void beginWithOne() {
    beginWithout();
    writeFile(m_vol + "/file", "first");
    m_made = make({m_vol}).at(0);
    writeFile(m_vol + "/file", "other");
  }

  // What the operations say, in a process of their own.
  TracedWork making() {
    return work([this] {
      m_names = make(m_volumes);
      return m_result;
    });
  }
  TracedWork restoring() {
    return work([this] { return static_cast<int>(restore(m_vol, m_made)); });
  }
  TracedWork disposing() {
    return work([this] { return dispose(m_made); });
  }
  TracedWork importing() {
    return work([this] {
      m_names = {import(m_made)};
      return m_result;
    });
  }
  TracedWork deporting() {
    return work([this] { return deport(m_made); });
  }

  // The snapshots that there are once the next session has cleared up, each of which is whole.
  Names wholeSnapshots() {
    EXPECT_EQ(prepare(m_volumes), 0) << lastError();
    Names found = contents(m_folder);
    for (const std::string& one : found) {
      EXPECT_EQ(status(one), 8) << lastError();
      EXPECT_EQ(readFile(one + "/file"), "first");
    }
    EXPECT_THAT(namesIn(m_data), testing::IsSubsetOf({".btrfssnap", "second", "vol"}));
    return found;
  }

  const std::string m_second = m_data + "/second";
  const Names m_volumes = {m_vol, m_second};
  std::string m_made;

 private:
  TracedWork work(std::function<int()> operation) {
    return TracedWork(std::move(operation), [this] {
      std::string text = lastError();
      for (const std::string& name : m_names) text += "\n" + name;
      return text;
    });
  }
  Names m_names;
};

}  // namespace orca_tests

#endif
