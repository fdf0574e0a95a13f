#ifndef ORCA_TESTS_BTRFSSNAP_FIXTURE_H
#define ORCA_TESTS_BTRFSSNAP_FIXTURE_H

#include <sys/mount.h>

#include "examples/provider_test.h"
#include "support/run_command.h"

namespace orca_tests {

// btrfssnap, and the subvolume vol of a Btrfs file system of its own.
class BtrfsSnapTest : public ProviderTest {
 protected:
  BtrfsSnapTest() : ProviderTest(BTRFSSNAP_PLUGIN, BTRFSSNAP_CATALOG) {}

  void SetUp() override {
    std::filesystem::create_directory(m_data);
    const CommandResult made = runCommand({BTRFS_SCRIPT, "/mnt/image", m_data});
    if (made.status == 77) GTEST_SKIP() << made.out;
    ASSERT_EQ(made.status, 0) << made.err;
    create(m_vol);
    writeFile(m_vol + "/file", "first");
    load();
  }
  ~BtrfsSnapTest() override {
    unload();
    for (const std::string& import : contents(m_imports)) umount2(import.c_str(), MNT_DETACH);
    umount2(m_data.c_str(), MNT_DETACH);
  }

  static void btrfs(Names words) {
    words.insert(words.begin(), "btrfs");
    const CommandResult result = runCommand(words);
    ASSERT_EQ(result.status, 0) << words[1] << " " << words[2] << ": " << result.err;
  }
  static void create(const std::string& path) { btrfs({"subvolume", "create", path}); }
  static void erase(const std::string& path) { btrfs({"subvolume", "delete", path}); }

  // The names in a folder, hidden ones included.
  static Names namesIn(const std::filesystem::path& folder) {
    Names names;
    for (const std::string& path : contents(folder))
      names.push_back(std::filesystem::path(path).filename());
    return names;
  }

  std::string content() const { return readFile(m_vol + "/file"); }
  std::string snapshot(const Values& values = {}, const std::string& node = "") {
    return snapshotOf(node.empty() ? m_vol : node, values);
  }
  std::string import(std::string snapshot, int flags = orca_pdk::FI_IMPORT_READ_WRITE) {
    char* path = nullptr;
    m_result = m_provider->importResource(nullptr, snapshot.data(), nullptr, nullptr, flags, &path,
                                          nullptr);
    const std::string text = path == nullptr ? "" : path;
    free(path);
    return text;
  }
  int deport(std::string snapshot) {
    return m_provider->deportResource(snapshot.data(), nullptr, nullptr, nullptr,
                                      orca_pdk::FI_DEPORT);
  }

  const std::string m_data = std::filesystem::canonical(m_dir.path()).string() + "/data";
  const std::string m_vol = m_data + "/vol";
  const std::string m_folder = m_data + "/.btrfssnap";
  const std::filesystem::path m_imports = m_root / "lib/orca/cachefiles/btrfssnap";
};

}  // namespace orca_tests

#endif
