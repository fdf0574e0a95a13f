#include <cerrno>
#include <string>

#include "cficonfiguration.h"
#include "support/temp_dir.h"
#include "support/traced_work.h"

namespace orca_tests {
namespace {

using orca_pdk::CFiConfiguration;

// A configuration of so many settings that one write does not take them all.
std::string settings(const std::string& first) {
  std::string text = "[section]\n\"first\"=\"" + first + "\"\n";
  for (int i = 1000; i < 2000; ++i) text += "\"name" + std::to_string(i) + "\"=\"value\"\n";
  return text;
}

int changeFirst(const std::string& folder) {
  CFiConfiguration config((folder + "/").c_str(), "a.conf", false);
  if (const int result = config.importConfig((folder + "/").c_str(), "a.conf"); result != 0) {
    return result;
  }
  ACE_Configuration_Section_Key section;
  config.openSection("section", section, 0);
  config.setStringValue("first", "new");
  return config.exportConfig();
}

TEST(ConfigurationCalls, ExportsAllOrKeepsTheOldFile) {
  const TempDir folder;
  const std::string file = folder.file("a.conf");
  const std::string before = settings("old");
  ASSERT_NO_FATAL_FAILURE(writeFile(file, before));
  ASSERT_EQ(changeFirst(folder.str()), 0);
  const std::string after = readFile(file);
  for (const int error : {EINTR, ENOSPC, EIO, EMFILE, EACCES}) {
    TracedSweep{"configuration exported", TracedWork([&] { return changeFirst(folder.str()); }),
                [&] { writeFile(file, before); },
                [&](const TracedEnd& end) {
                  EXPECT_EQ(readFile(file), end.result == 0 ? after : before);
                  EXPECT_FALSE(error == EINTR && end.result != 0) << "given up";
                },
                3}
        .failEverywhere(error);
  }
}

}  // namespace
}  // namespace orca_tests
