#ifndef ORCA_TESTS_HOST_FIXTURE_H
#define ORCA_TESTS_HOST_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/run_command.h"
#include "support/temp_dir.h"

namespace orca_tests {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

// Runs fihost with a state folder and an install root of its own.
class Host : public testing::Test {
 protected:
  CommandResult run(const Words& words) {
    Words command{FIHOST_PROGRAM, "--state", m_dir.file("state")};
    command.insert(command.end(), words.begin(), words.end());
    return runCommand(command);
  }

  // The same from a folder of the test.
  CommandResult runIn(const std::string& folder, const Words& words) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_dir.path() / folder);
    const CommandResult result = run(words);
    std::filesystem::current_path(before);
    return result;
  }

  // Runs with --json; its standard output must be one document.
  Json runJson(Words words, int exit) {
    words.insert(words.begin(), "--json");
    const CommandResult result = run(words);
    EXPECT_EQ(result.status, exit) << result.err;
    Json document = Json::parse(result.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << result.out;
    return document;
  }

  static Words withPlugin(const std::string& verb, const Words& rest) {
    Words words{verb, "--plugin", plugin("provider")};
    words.insert(words.end(), rest.begin(), rest.end());
    return words;
  }

  static std::string plugin(const std::string& name) {
    return FIHOST_TEST_PLUGINS "/" + name + ".so";
  }

  static Words operations(const Json& document) {
    Words names;
    for (const Json& call : document.at("operations")) names.push_back(call.at("operation"));
    return names;
  }

  TempDir m_dir;
  ScopedEnv m_root{"ORCA_INSTALL_ROOT", m_dir.str().c_str()};
};

}  // namespace orca_tests

#endif
