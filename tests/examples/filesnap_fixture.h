#ifndef ORCA_TESTS_FILESNAP_FIXTURE_H
#define ORCA_TESTS_FILESNAP_FIXTURE_H

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "examples/provider_test.h"

namespace orca_tests {

constexpr uid_t kUser = 12345;

// Runs an action in a child; what it finds wrong is told on standard output.
inline void inChild(const std::function<void()>& action) {
  const pid_t child = fork();
  if (child == 0) {
    action();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int ended = 0;
  ASSERT_EQ(waitpid(child, &ended, 0), child);
  EXPECT_EQ(ended, 0) << "in a child";
}

inline void asUser(const std::function<void()>& action) {
  inChild([&] {
    ASSERT_EQ(setgroups(0, nullptr), 0);
    ASSERT_EQ(setresgid(kUser, kUser, kUser), 0);
    ASSERT_EQ(setresuid(kUser, kUser, kUser), 0);
    action();
  });
}

// filesnap, and a file of which it takes snapshots.
class FileSnapTest : public ProviderTest {
 protected:
  FileSnapTest() : ProviderTest(FILESNAP_PLUGIN, FILESNAP_CATALOG) {
    writeFile(m_file, m_content);
    load();
  }

  std::string snapshot(const Values& values = {}) { return snapshotOf(m_file, values); }

  // Gives the data to an ordinary user; false where there is none.
  bool giveToUser() {
    if (chown(m_data.c_str(), kUser, kUser) != 0) return false;
    return chmod(m_dir.path().c_str(), 0755) == 0 && chown(m_file.c_str(), kUser, kUser) == 0;
  }

  const std::string m_data = std::filesystem::canonical(m_dir.path()).string() + "/data";
  const std::string m_file = m_data + "/disk.img";
  const std::string m_folder = m_data + "/.filesnap";
  const std::string m_content = std::string(1300000, 'a') + std::string(1300000, 'b');
};

}  // namespace orca_tests

#endif
