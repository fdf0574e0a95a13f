#ifndef ORCA_TESTS_PROVIDER_TEST_H
#define ORCA_TESTS_PROVIDER_TEST_H

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <orca_pdk.h>

#include <algorithm>
#include <map>

#include "support/node.h"
#include "support/temp_dir.h"

namespace orca_tests {

using Names = std::vector<std::string>;
using Values = std::map<std::string, std::string>;

// What is in a folder, hidden names included.
inline Names contents(const std::filesystem::path& folder) {
  Names paths;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(folder, none))
    paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  return paths;
}

// A provider under an install root of its own. All names of nodes begin with a prefix.
class ProviderTest : public testing::Test {
 protected:
  ProviderTest(const char* plugin, const std::filesystem::path& catalog, std::string prefix = "")
      : m_plugin(plugin), m_prefix(std::move(prefix)) {
    std::filesystem::create_directories(m_root);
    std::filesystem::create_directory_symlink(catalog.parent_path(), m_root / "resources");
  }
  ~ProviderTest() override { unload(); }

  // Loads the provider, in the place of the one before.
  void load() {
    unload();
    void* const library = dlopen(m_plugin, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    using Create = orca_pdk::CFiPluginBase* (*)();
    const auto create = reinterpret_cast<Create>(dlsym(library, "orca_provider_create"));
    m_provider = orca_pdk::CFiPluginBasePtr(create());
  }
  void unload() {
    for (auto& [name, node] : m_nodes) {
      // The texts of a FIM list are the framework's.
      for (pyx_node_fim* fim = node.domain.fim_list; fim != nullptr; fim = fim->next) {
        free(fim->detail->text);
        free(fim->name->text);
      }
      m_provider->deInitNode(&node.domain);
    }
    m_nodes.clear();
    m_provider = orca_pdk::CFiPluginBasePtr();
  }

  Node& node(const std::string& name) {
    const auto [slot, isNew] = m_nodes.try_emplace(name, m_prefix + name);
    if (isNew && m_provider->initNode(&slot->second.domain, nullptr, 0, nullptr) != 0) {
      throw std::runtime_error("initNode failed for " + name);
    }
    return slot->second;
  }
  std::vector<pyx_splitnode*> split(const Names& names) {
    std::vector<pyx_splitnode*> nodes;
    for (const std::string& name : names) nodes.push_back(&node(name).split);
    return nodes;
  }

  int set(const std::string& name, const Values& values) {
    orca_pdk::CFiConfigParamDataList list;
    for (const auto& [key, value] : values) list.params[key].value = value;
    for (auto& [key, data] : list.params) data.key = key;
    list.updateXML();
    std::string text = list.getXML().c_str();
    pyx_confspec spec{1, 1, text.data()};
    const int result = m_provider->config(&node(name).domain, 2, m_session, &spec);
    free(spec.text);
    return result;
  }
  int prepare(const Names& names) {
    return m_provider->prepare(m_session, split(names).data(), static_cast<int>(names.size()), 0);
  }
  // The names of the snapshots; none when make failed.
  Names make(const Names& names) {
    orca_objid** ids = nullptr;
    int count = 0;
    m_result = m_provider->make(m_session, split(names).data(), static_cast<int>(names.size()),
                                &ids, &count);
    Names snapshots;
    for (int i = 0; i < count; ++i) {
      snapshots.emplace_back(ids[i]->name);
      orca_free_objid(ids[i]);
    }
    orca_free_buf(ids, static_cast<std::size_t>(count) * sizeof *ids);
    return snapshots;
  }
  // The one snapshot of a node, taken with these values.
  std::string snapshotOf(const std::string& name, const Values& values) {
    EXPECT_EQ(set(name, values), 0) << lastError();
    EXPECT_EQ(prepare({name}), 0) << lastError();
    const Names snapshots = make({name});
    EXPECT_EQ(snapshots.size(), 1U) << lastError();
    return snapshots.empty() ? "" : snapshots[0];
  }
  long restore(const std::string& source, const std::string& snapshot) {
    Node first(source), second(snapshot);
    long answer = -1;
    const int result = m_provider->restore(&first.id, &second.id, 1, nullptr, nullptr, nullptr,
                                           nullptr, 0, &answer);
    EXPECT_EQ(result == 0, answer == 0);
    return answer;
  }
  long status(const std::string& snapshot, const std::string& source = "") {
    Node first(m_prefix + source), second(snapshot);
    long answer = -1;
    EXPECT_EQ(m_provider->getStatus(&first.id, &second.id, 1, m_session, 0, &answer), 0);
    return answer;
  }
  int dispose(const std::string& snapshot) {
    Node second(snapshot);
    return m_provider->dispose(nullptr, nullptr, &second.split, PYX_DISPOSITION_NONE);
  }

  std::string lastError() {
    pyx_msg_info* info = nullptr;
    m_provider->getLastError(&info);
    if (info == nullptr) return "no error";
    int unused = 0;
    char* text = nullptr;
    m_provider->getLocaleMessage(&unused, info, "en", &text);
    const std::string sentence = text == nullptr ? "" : text;
    m_provider->delLocaleMessage(&text);
    m_provider->delLastError(&info);
    return sentence;
  }

  TempDir m_dir;
  const std::filesystem::path m_root = m_dir.path() / "root";
  const ScopedEnv m_rootEnv{"ORCA_INSTALL_ROOT", m_root.c_str()};
  const char* const m_plugin;
  const std::string m_prefix;
  char m_session[3] = "s1";
  int m_result = 0;  // of the last operation that returned something else
  orca_pdk::CFiPluginBasePtr m_provider;
  std::map<std::string, Node> m_nodes;
};

}  // namespace orca_tests

#endif
