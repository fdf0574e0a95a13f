#ifndef ORCA_SWEEP_BTRFSSNAP_WORK_H
#define ORCA_SWEEP_BTRFSSNAP_WORK_H

#include "examples/btrfssnap_fixture.h"
#include "support/keeper_work.h"

namespace orca_tests {

// btrfssnap with two subvolumes.
class BtrfsSnapWork : public KeeperWork<BtrfsSnapTest> {
 protected:
  void SetUp() override {
    BtrfsSnapTest::SetUp();
    if (IsSkipped()) return;
    m_sources = {m_vol, m_data + "/second"};
    m_inSource = m_inSnapshot = "/file";
    m_old = "first";
    create(m_sources[1]);
    writeFile(m_sources[1] + "/file", m_old);
    prepare(m_sources);
    lastError();  // the catalog is open from now on
  }

  void beginWithout() override {
    if (!m_made.empty()) {
      deport(m_made);
      dispose(m_made);  // first, since it takes what was kept for it along
    }
    KeeperWork::beginWithout();
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
};

}  // namespace orca_tests

#endif
