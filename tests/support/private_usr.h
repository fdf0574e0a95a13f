#ifndef ORCA_TESTS_PRIVATE_USR_H
#define ORCA_TESTS_PRIVATE_USR_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace orca_tests {

// True where /usr is mounted for this program alone, as private_usr does: only there may a
// program write below /usr/tarn.
inline bool isUsrPrivate() {
  std::ifstream mounts("/proc/self/mountinfo");
  for (std::string line; std::getline(mounts, line);) {
    if (line.find(" /usr ") != std::string::npos && line.find(" - overlay ") != std::string::npos) {
      return true;
    }
  }
  return false;
}

// A test that writes below /usr/tarn: skipped where that would be the system's.
class PrivateUsrTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!isUsrPrivate()) GTEST_SKIP() << "needs a /usr/tarn of its own";
  }
};

}  // namespace orca_tests

#endif
