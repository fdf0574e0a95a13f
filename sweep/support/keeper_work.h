#ifndef ORCA_SWEEP_KEEPER_WORK_H
#define ORCA_SWEEP_KEEPER_WORK_H

#include "examples/provider_test.h"
#include "support/traced_work.h"

namespace orca_tests {

// A provider that keeps snapshots in a folder, whose operations run in traced processes. A case
// begins without snapshots, or with one of the first source (m_made) restorable over other content.
template <typename Fixture>
class KeeperWork : public Fixture {
 protected:
  virtual void beginWithout() {
    ASSERT_EQ(this->prepare(m_sources), 0) << this->lastError();
    for (const std::string& one : contents(this->m_folder)) {
      EXPECT_EQ(this->dispose(one), 0) << this->lastError();
    }
    ASSERT_EQ(this->prepare(m_sources), 0) << this->lastError();
  }
  void beginWithOne() {
    beginWithout();
    writeFile(m_sources[0] + m_inSource, m_old);
    m_made = this->make({m_sources[0]}).at(0);
    writeFile(m_sources[0] + m_inSource, "other");
  }

  // What the operations say, in a process of their own.
  TracedWork work(std::function<int()> operation) {
    return TracedWork(std::move(operation), [this] {
      std::string text = this->lastError();
      for (const std::string& name : m_names) text += "\n" + name;
      return text;
    });
  }
  TracedWork making() {
    return work([this] {
      m_names = this->make(m_sources);
      return this->m_result;
    });
  }
  TracedWork restoring() {
    return work([this] { return static_cast<int>(this->restore(m_sources[0], m_made)); });
  }
  TracedWork disposing() {
    return work([this] { return this->dispose(m_made); });
  }

  // The snapshots that there are once the next session has cleared up, each of which is whole.
  Names wholeSnapshots() {
    EXPECT_EQ(this->prepare(m_sources), 0) << this->lastError();
    Names found = contents(this->m_folder);
    for (const std::string& one : found) {
      EXPECT_EQ(this->status(one), 8) << this->lastError();
      EXPECT_EQ(readFile(one + m_inSnapshot), m_old);
    }
    Names left = m_sources;
    left.push_back(this->m_folder);
    EXPECT_THAT(contents(this->m_data), testing::IsSubsetOf(left));
    return found;
  }
  void expectOldSources() const {
    for (const std::string& one : m_sources) EXPECT_EQ(readFile(one + m_inSource), m_old);
  }

  Names m_sources;
  std::string m_inSource, m_inSnapshot;  // the path of a file in both
  std::string m_old;                     // its content
  std::string m_made;
  Names m_names;  // to be told besides
};

}  // namespace orca_tests

#endif
