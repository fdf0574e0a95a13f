#include <unistd.h>

#include <set>

#include "host_fixture.h"

namespace {

using namespace orca_tests;
namespace fs = std::filesystem;
using testing::HasSubstr;

// The verb that writes a project. That what it writes is a good one is seen by building it.
class NewProject : public Host {
 protected:
  std::set<std::string> found() const {
    std::set<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(m_dir.path())) {
      if (!entry.is_directory()) paths.insert(fs::relative(entry, m_dir.path()).string());
    }
    return paths;
  }
};

TEST_F(NewProject, HasANameThatEverythingInItCanBear) {
  const char kRule[] =
      "a name begins with a letter from a to z, has after it nothing but such letters, digits and "
      "\"_\", and at most 32 characters";
  const char kTarget[] = "CMake has a target of its own that is called so";
  const std::pair<std::string, const char*> cases[] = {
      {"9snap", kRule}, {"_snap", kRule},  {"Snap", kRule},
      {"a-b", kRule},   {"a/../b", kRule}, {"a\xc3\xa9", kRule},
      {"a b", kRule},   {"test", kTarget}, {std::string(33, 'a'), kRule}};
  for (const auto& [name, reason] : cases) {
    const CommandResult result = runIn("", {"new", name});
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_EQ(result.err,
              "fihost: \"" + name + "\" cannot be the name of a provider: " + reason + "\n");
  }
  EXPECT_EQ(found(), std::set<std::string>());
}

TEST_F(NewProject, IsToldWithItsFolderAndFiles) {
  const Json answer = runJson({"new", std::string(32, 'a'), "--folder", m_dir.file("p/")}, 0);
  EXPECT_EQ(answer["folder"], m_dir.file("p"));
  std::set<std::string> told;
  for (const Json& file : answer["files"]) told.insert("p/" + std::string(file));
  EXPECT_EQ(told, found());
}

TEST_F(NewProject, OverwritesNothing) {
  writeFile(m_dir.file("file"), "mine");
  writeFile(m_dir.file("folder/mine"), "mine");
  fs::create_directory(m_dir.file("empty"));
  fs::create_symlink(m_dir.file("empty"), m_dir.file("link"));
  fs::create_symlink(m_dir.file("nothing"), m_dir.file("dangling"));
  const std::set<std::string> before = found();
  const std::pair<const char*, const char*> cases[] = {{"file", "it is there, and no folder"},
                                                       {"folder", "it is not empty"},
                                                       {"link/", "it is there, and no folder"},
                                                       {"dangling", "it is there, and no folder"}};
  for (const auto& [name, reason] : cases) {
    const CommandResult result = runIn("", {"new", "snap", "--folder", name});
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_THAT(result.err, HasSubstr(reason)) << name;
  }
  EXPECT_EQ(found(), before);
}

TEST_F(NewProject, IsNotWrittenIntoAFolderOfAnotherUser) {
  fs::create_directory(m_dir.file("snap"));
  if (chown(m_dir.file("snap").c_str(), 1234, 0) != 0) GTEST_SKIP() << "needs root, to give away";
  EXPECT_THAT(runIn("", {"new", "snap"}).err, HasSubstr("folder snap: it belongs to another user"));
  EXPECT_EQ(found(), std::set<std::string>());
}

// Files may have 4 KiB: fewer than the one that is named.
TEST_F(NewProject, IsRemovedAgainWhereAFileCannotBeWritten) {
  fs::create_directory(m_dir.file("there"));
  for (const char* folder : {"made", "there"}) {
    const CommandResult result =
        runCommand({"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 8; exec \"$@\"", "sh", FIHOST_PROGRAM,
                    "new", "snap", "--array", "--folder", m_dir.file(folder)});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "fihost: cannot write " + m_dir.file(folder) + "/provider.cpp: File too large\n");
  }
  EXPECT_EQ(found(), std::set<std::string>());
  EXPECT_FALSE(fs::exists(m_dir.file("made")));
  EXPECT_TRUE(fs::is_empty(m_dir.file("there")));
}

}  // namespace
