#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <orca_pdk.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// The sample for Btrfs subvolumes against the command that does the same.

namespace {

namespace fs = std::filesystem;
using orca_pdk::CFiPluginBasePtr;

constexpr int kFolders = 100;
constexpr int kFilesEach = 100;
constexpr int kCannot = 77;  // how btrfs_volume ends where it can mount nothing

int run(const std::vector<std::string>& words, int output = -1) {
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (output >= 0) {
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  pid_t child = -1;
  const int failed = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (failed != 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

// A Btrfs file system on a loop device, with a subvolume of 10,000 files.
class Volume {
 public:
  Volume() {
    std::string pattern = (fs::temp_directory_path() / "orca-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the benchmark");
    m_folder = pattern;
    fs::create_directory(m_folder / "mount");
    mountFileSystem();
    if (reason().empty()) fill();
  }
  ~Volume() {
    umount2((m_folder / "mount").c_str(), MNT_DETACH);
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
  }

  // Why there is none; empty where there is.
  const std::string& reason() const { return m_reason; }
  std::string path() const { return m_folder / "mount/volume"; }
  std::string snapshot() const { return m_folder / "mount/snapshot"; }

 private:
  void mountFileSystem() {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe for the benchmark");
    const int status = run({BTRFS_SCRIPT, m_folder / "image", m_folder / "mount"}, ends[1]);
    close(ends[1]);
    char text[256];
    const ssize_t got = read(ends[0], text, sizeof text);
    close(ends[0]);
    if (status == 0) return;
    m_reason = got > 0 ? std::string(text, static_cast<std::size_t>(got)) : "no file system";
    if (status != kCannot) m_reason = "btrfs_volume failed: " + m_reason;
    m_reason.erase(m_reason.find_last_not_of('\n') + 1);
  }

  void fill() {
    if (run({"btrfs", "subvolume", "create", path()}) != 0) m_reason = "no subvolume can be made";
    for (int i = 0; i < kFolders; ++i) {
      const fs::path folder = fs::path(path()) / std::to_string(i);
      fs::create_directory(folder);
      for (int j = 0; j < kFilesEach; ++j) std::ofstream(folder / std::to_string(j)) << j;
    }
    run({"btrfs", "filesystem", "sync", path()});
  }

  fs::path m_folder;
  std::string m_reason;
};

const Volume& volume() {
  static const Volume made;
  return made;
}

// A provider that was set up for the subvolume.
class Provider {
 public:
  Provider() {
    m_provider->initNode(&m_domain, nullptr, 0, nullptr);
    if (!prepare()) throw std::runtime_error("no snapshot can be prepared");
  }
  ~Provider() {
    m_provider->deInitNode(&m_domain);
    orca_free_objid(m_domain.objid);
  }
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  bool prepare() { return m_provider->prepare(m_session, m_nodes, 1, 0) == 0; }
  bool make() {
    int count = 0;
    return m_provider->make(m_session, m_nodes, 1, &m_ids, &count) == 0 && count == 1;
  }
  bool dispose() {
    pyx_domain snapshot{};
    snapshot.objid = m_ids[0];
    pyx_splitnode node{&m_domain, &snapshot};
    const bool good = m_provider->dispose(nullptr, nullptr, &node, PYX_DISPOSITION_NONE) == 0;
    orca_free_objid(m_ids[0]);
    orca_free_buf(m_ids, sizeof(orca_objid*));
    return good;
  }

 private:
  static CFiPluginBasePtr load() {
    void* const library = dlopen(BTRFSSNAP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    using Create = orca_pdk::CFiPluginBase* (*)();
    return CFiPluginBasePtr(reinterpret_cast<Create>(dlsym(library, "orca_provider_create"))());
  }
  static pyx_domain domainOf(const std::string& name) {
    pyx_domain domain{};
    domain.objid = orca_get_objid(name.c_str(), name.size() + 1, orca_pdk::FI_OBJID_NODE);
    return domain;
  }

  CFiPluginBasePtr m_provider = load();
  pyx_domain m_domain = domainOf(volume().path());
  pyx_splitnode m_node{&m_domain, &m_domain};
  pyx_splitnode* m_nodes[1] = {&m_node};
  orca_objid** m_ids = nullptr;
  char m_session[6] = "bench";
};

// Times one step and not the other one, which undoes it and waits until that lasts.
template <typename Step, typename Undo>
void timeStep(benchmark::State& state, Step step, Undo undo) {
  for (auto _ : state) {
    const bool good = step();
    state.PauseTiming();
    if (!good || !undo()) state.SkipWithError("no snapshot was made, or it stays");
    state.ResumeTiming();
  }
}

void btrfssnapMake(benchmark::State& state) {
  if (!volume().reason().empty()) return state.SkipWithError(volume().reason().c_str());
  Provider provider;
  timeStep(
      state, [&] { return provider.make(); },
      [&] { return provider.dispose() && provider.prepare(); });
}

void btrfsSnapshot(benchmark::State& state) {
  if (!volume().reason().empty()) return state.SkipWithError(volume().reason().c_str());
  const std::string source = volume().path();
  const std::string snapshot = volume().snapshot();
  timeStep(
      state,
      [&] {
        return run({"btrfs", "subvolume", "snapshot", "-r", source, snapshot}) == 0;
      },
      [&] {
        return run({"btrfs", "subvolume", "delete", "-C", snapshot}) == 0;
      });
}

BENCHMARK(btrfssnapMake)->Name("btrfssnap/make")->UseRealTime();
BENCHMARK(btrfsSnapshot)->Name("btrfs/snapshot")->UseRealTime();

}  // namespace
