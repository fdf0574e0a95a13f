#ifndef ORCA_TESTS_ARRAYSNAP_FIXTURE_H
#define ORCA_TESTS_ARRAYSNAP_FIXTURE_H

#include "examples/provider_test.h"
#include "support/private_usr.h"
#include "support/run_command.h"

namespace orca_tests {

constexpr char kPassword[] = "s3cret word";
constexpr char kTraceFolder[] = "/usr/tarn/keystone/logs/frzcmd";
inline const std::string kPrefix = "UDID##FIARRAY##DISK##E1##";

// A small array in a folder, and its tool with the right login.
struct FiArray {
  explicit FiArray(const std::filesystem::path& place) : folder(place) {
    writeFile(loginFile, std::string("admin\n") + kPassword + "\n");
  }

  CommandResult run(const std::string& words) const {
    std::vector<std::string> command{"/bin/sh", "-c", "exec \"$0\" --state \"$@\" < " + loginFile,
                                     FIARRAY_PROGRAM, folder};
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
    return folder / "images/E1" / (device + ".img");
  }
  void write(const std::string& device, const std::string& data) const {
    std::fstream(image(device), std::ios::in | std::ios::out | std::ios::binary) << data;
  }

  const std::filesystem::path folder;
  const std::string loginFile = folder.string() + ".login";
};

// Nodes are named after their devices.
class ArraySnapTest : public ProviderTest {
 protected:
  ArraySnapTest() : ProviderTest(ARRAYSNAP_PLUGIN, ARRAYSNAP_CATALOG, "<arraysnap>" + kPrefix) {
    if (isUsrPrivate()) std::filesystem::create_directories(kTraceFolder);
    writeFile(m_config / "arraysnap.conf", "[DEBUG_TRACE_INFO]\n\"TRACELEVEL\"=dword:00000006\n");
    configure();
  }

  // Writes the configuration file and loads the provider anew.
  void configure(const std::string& more = "", const std::string& password = kPassword) {
    writeFile(
        m_config / "arraysnap_array.conf",
        "[CREDENTIALS]\n[CREDENTIALS\\main]\n\"HOSTNAME\"=\"array1\"\n\"USERNAME\"=\"admin\"\n"
        "\"PASSWORD\"=\"" +
            password + "\"\n[ARRAYSNAP]\n\"TOOL\"=\"" FIARRAY_PROGRAM "\"\n\"STATE\"=\"" +
            m_array.folder.string() + "\"\n\"TIMEOUT\"=dword:0000003c\n" + more);
    load();
  }

  // Puts a shell script in the place of the array's tool.
  void useTool(const std::string& script) {
    writeFile(m_dir.file("tool"), "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(m_dir.file("tool"), std::filesystem::perms::owner_all);
    configure("\"TOOL\"=\"" + m_dir.file("tool") + "\"\n");
  }

  int setTarget(const std::string& device, const std::string& target, const char* mode = "full") {
    return set(device, {{"snapshot_resource_spec", "[E1##" + device + ";" + target + "]"},
                        {"clone_mode", mode}});
  }
  // Imports a device; returns its path, empty after a failure.
  std::string import(const std::string& device, std::string host = "hosta") {
    std::string resource = kPrefix + device;
    char* path = nullptr;
    m_result = m_provider->importResource(nullptr, resource.data(), host.data(), nullptr, 1, &path,
                                          m_session);
    const std::string text = path == nullptr ? "" : path;
    free(path);
    return text;
  }
  int deport(const std::string& device, std::string host = "hosta") {
    std::string resource = kPrefix + device;
    return m_provider->deportResource(resource.data(), host.data(), nullptr, m_session, 0x10);
  }
  // What the LUN cache remembers of a device.
  std::string lun(const std::string& device) {
    return readFile(m_root / "lib/orca/cachefiles/luns/E1" / (kPrefix + device));
  }

  const std::filesystem::path m_config = m_root / "lib/orca/configfiles";
  FiArray m_array{m_dir.path() / "array"};
};

}  // namespace orca_tests

#endif
