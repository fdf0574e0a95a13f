#ifndef ORCA_SWEEP_FILESNAP_WORK_H
#define ORCA_SWEEP_FILESNAP_WORK_H

#include "examples/filesnap_fixture.h"
#include "support/traced_work.h"

namespace orca_tests {

// filesnap with two small files, whose operations run in traced processes. A case begins without
// snapshots, with one of the first file (m_made), or with that one restorable over other content.
class FileSnapWork : public FileSnapTest {
 protected:
  FileSnapWork() {
    for (const std::string& file : m_files) {
      writeFile(file, m_old);
      EXPECT_EQ(set(file, {{"copy_mode", "copy"}, {"verify", "true"}}), 0) << lastError();
    }
    lastError();  // the catalog is open from now on
  }

  void beginWithout() {
    ASSERT_EQ(prepare(m_files), 0) << lastError();
    for (const std::string& one : contents(m_folder)) EXPECT_EQ(dispose(one), 0) << lastError();
    ASSERT_EQ(prepare(m_files), 0) << lastError();
  }
  void beginWithOne() {
    beginWithout();
    writeFile(m_file, m_old);
    m_made = make({m_file}).at(0);
    writeFile(m_file, "other");
  }

  // What the operations say, in a process of their own.
  TracedWork making() {
    return work([this] {
      m_names = make(m_files);
      return m_result;
    });
  }
  TracedWork restoring() {
    return work([this] { return static_cast<int>(restore(m_file, m_made)); });
  }
  TracedWork disposing() {
    return work([this] { return dispose(m_made); });
  }
  TracedWork asking() {
    return work([this] { return static_cast<int>(status(m_made)); });
  }
  TracedWork preparing() {
    return work([this] { return prepare(m_files); });
  }

  // The snapshots that there are once the next session has cleared up, each of which is whole.
  Names wholeSnapshots() {
    EXPECT_EQ(prepare(m_files), 0) << lastError();
    Names found = contents(m_folder);
    for (const std::string& one : found) {
      EXPECT_EQ(status(one), 8) << lastError();
      EXPECT_EQ(readFile(one + "/data"), m_old);
    }
    EXPECT_THAT(contents(m_data), testing::IsSubsetOf({m_folder, m_files[0], m_files[1]}));
    return found;
  }

  const std::string m_old = std::string(20000, 'o');
  const Names m_files = {m_file, m_data + "/second.img"};
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
