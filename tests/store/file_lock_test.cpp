#include "cfifilelock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "support/temp_dir.h"

namespace {

using namespace orca_pdk_4_4;
using orca_tests::readFile;

struct FileLock : testing::Test {
  orca_tests::TempDir dir;
  const std::string path = dir.file("lock");
  const std::chrono::milliseconds noTime{0};
};

TEST_F(FileLock, KeepsOthersOutForItsScope) {
  {
    const CFiFileLock lock(AT_FDCWD, path);
    EXPECT_EQ(readFile(path), std::to_string(getpid()));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
    try {
      const CFiFileLock second(AT_FDCWD, path, noTime);
      ADD_FAILURE() << "taken twice";
    } catch (const CFiLockHeld& held) {
      EXPECT_EQ(held.process(), std::to_string(getpid()));
    }
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(FileLock, IsTakenOverFromTheDead) {
  orca_tests::writeFile(path, "4711");
  const CFiFileLock lock(AT_FDCWD, path, noTime);
  EXPECT_EQ(readFile(path), std::to_string(getpid()));
}

TEST_F(FileLock, IsNotTakenFromWhatOthersCouldHaveLaid) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_THROW(CFiFileLock(AT_FDCWD, path, noTime), std::system_error) << "a FIFO";
  std::filesystem::remove(path);
  std::filesystem::create_symlink(dir.file("target"), path);
  EXPECT_THROW(CFiFileLock(AT_FDCWD, path, noTime), std::system_error) << "a link";
  EXPECT_FALSE(std::filesystem::exists(dir.file("target")));
  std::filesystem::remove(path);
  orca_tests::writeFile(path, "");
  if (chown(path.c_str(), 12345, 12345) != 0) GTEST_SKIP() << "only root gives files away";
  EXPECT_THROW(CFiFileLock(AT_FDCWD, path, noTime), std::system_error) << "another user's";
}

}  // namespace
