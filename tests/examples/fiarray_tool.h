#ifndef ORCA_TESTS_FIARRAY_TOOL_H
#define ORCA_TESTS_FIARRAY_TOOL_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/run_command.h"
#include "support/temp_dir.h"

namespace orca_tests {

inline constexpr char kPassword[] = "s3cret word";

// A small array in a folder, and its tool with the right login.
class FiArray {
 public:
  explicit FiArray(const std::filesystem::path& folder) : m_folder(folder) {
    writeFile(m_login, std::string("admin\n") + kPassword + "\n");
  }

  CommandResult run(const std::string& words) const { return runAs(m_login, words); }
  CommandResult runAs(const std::string& loginFile, const std::string& words) const {
    std::vector<std::string> command{"/bin/sh", "-c", "exec \"$0\" --state \"$@\" < " + loginFile,
                                     FIARRAY_PROGRAM, m_folder};
    std::istringstream in(words);
    for (std::string word; in >> word;) command.push_back(word);
    return runCommand(command);
  }
  // Runs a command that must succeed and returns what it printed.
  std::string ok(const std::string& words) const {
    const CommandResult result = run(words);
    EXPECT_EQ(result.status, 0) << words << ": " << result.err;
    return result.out;
  }
  // An enclosure E1 with devices D0, D1 ... of a size.
  void make(int devices, const std::string& size, const std::string& options = "--files-only") {
    ok("init " + options);
    ok("add-enclosure E1");
    for (int i = 0; i < devices; ++i) ok("add-device E1 D" + std::to_string(i) + " " + size);
  }
  std::string image(const std::string& device) const {
    return m_folder / "images/E1" / (device + ".img");
  }
  void write(const std::string& device, const std::string& data) const {
    std::fstream(image(device), std::ios::in | std::ios::out | std::ios::binary) << data;
  }
  const std::filesystem::path& folder() const { return m_folder; }
  const std::string& loginFile() const { return m_login; }

 private:
  std::filesystem::path m_folder;
  std::string m_login = m_folder.string() + ".login";
};

}  // namespace orca_tests

#endif
