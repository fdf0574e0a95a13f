#ifndef ORCA_SWEEP_FILESNAP_WORK_H
#define ORCA_SWEEP_FILESNAP_WORK_H

#include "examples/filesnap_fixture.h"
#include "support/keeper_work.h"

namespace orca_tests {

// filesnap with two small files.
class FileSnapWork : public KeeperWork<FileSnapTest> {
 protected:
  FileSnapWork() {
    m_sources = {m_file, m_data + "/second.img"};
    m_inSnapshot = "/data";
    m_old = std::string(20000, 'o');
    for (const std::string& file : m_sources) {
      writeFile(file, m_old);
      EXPECT_EQ(set(file, {{"copy_mode", "copy"}, {"verify", "true"}}), 0) << lastError();
    }
    lastError();  // the catalog is open from now on
  }

  TracedWork asking() {
    return work([this] { return static_cast<int>(status(m_made)); });
  }
  TracedWork preparing() {
    return work([this] { return prepare(m_sources); });
  }
};

}  // namespace orca_tests

#endif
