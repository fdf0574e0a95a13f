#ifndef ORCA_SWEEP_HOST_WORK_H
#define ORCA_SWEEP_HOST_WORK_H

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/run_command.h"
#include "support/temp_dir.h"
#include "support/traced_work.h"

namespace orca_tests {

// fihost with filesnap, a file, and a state that knows one snapshot of it.
class HostWork : public testing::Test {
 protected:
  HostWork() {
    namespace fs = std::filesystem;
    fs::create_directories(m_dir.path() / "root");
    fs::create_directory_symlink(fs::path(FILESNAP_CATALOG).parent_path(),
                                 m_dir.path() / "root/resources");
    writeFile(m_file, m_content);
    const CommandResult taken = take();
    EXPECT_EQ(taken.status, 0) << taken.err;
    m_first = listed().at(0);
    fs::rename(m_world, m_template);
  }

  void begin() const {
    std::filesystem::remove_all(m_world);
    std::filesystem::copy(m_template, m_world, std::filesystem::copy_options::recursive);
  }
  std::vector<std::string> words(const std::vector<std::string>& verb) const {
    std::vector<std::string> command{FIHOST_PROGRAM, "--state", m_state};
    command.insert(command.end(), verb.begin(), verb.end());
    return command;
  }
  CommandResult run(const std::vector<std::string>& verb) const { return runCommand(words(verb)); }
  CommandResult take() const { return run(m_taking); }
  TracedWork traced(const std::vector<std::string>& verb) const { return {words(verb), m_world}; }

  // The names of the snapshots that the host knows.
  std::vector<std::string> listed() const {
    const CommandResult list = run({"--json", "list"});
    const auto document = nlohmann::json::parse(list.out, nullptr, false);
    EXPECT_EQ(list.status, 0) << list.err;
    std::vector<std::string> names;
    if (document.is_discarded()) return names;
    for (const auto& each : document.at("snapshots")) names.push_back(each.at("name"));
    return names;
  }
  // What must hold whatever happened to a run that had nothing to do with the first snapshot.
  void expectOrder() const {
    EXPECT_EQ(readFile(m_file), m_content);
    const std::vector<std::string> before = listed();
    EXPECT_THAT(before, testing::Contains(m_first));
    const CommandResult status = run({"status"});
    EXPECT_EQ(status.status, 0) << status.err;
    const CommandResult next = take();
    EXPECT_EQ(next.status, 0) << next.err;
    EXPECT_EQ(listed().size(), before.size() + 1);
  }

  TempDir m_dir;
  const ScopedEnv m_root{"ORCA_INSTALL_ROOT", m_dir.file("root").c_str()};
  const std::string m_world = m_dir.file("world"), m_template = m_dir.file("template");
  const std::string m_state = m_world + "/state", m_file = m_world + "/data/file";
  const std::vector<std::string> m_taking{"snapshot", "--plugin", FILESNAP_PLUGIN,
                                          m_file,     "--set",    "verify=true"};
  const std::string m_content = std::string(3000, 'c');
  std::string m_first;
};

}  // namespace orca_tests

#endif
