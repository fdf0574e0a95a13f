#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <orca_pdk.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "../tests/support/node.h"

// The sample for regular files against the commands that do the same, and its sessions of many
// files against one of few.

namespace {

namespace fs = std::filesystem;
using orca_pdk::CFiPluginBasePtr;
using orca_tests::Node;

constexpr std::size_t kFileSize = std::size_t{256} << 20;

class Folder {
 public:
  explicit Folder(const fs::path& parent) {
    std::string pattern = (parent / "orca-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the benchmark");
    m_path = pattern;
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  const fs::path& path() const { return m_path; }

 private:
  fs::path m_path;
};

CFiPluginBasePtr loadProvider() {
  void* const library = dlopen(FILESNAP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  using Create = orca_pdk::CFiPluginBase* (*)();
  return CFiPluginBasePtr(reinterpret_cast<Create>(dlsym(library, "orca_provider_create"))());
}

// One session after the other over some files, one snapshot of each kept.
class Sessions {
 public:
  Sessions(const std::vector<std::string>& files, const char* verify) {
    for (const std::string& file : files) m_splits.push_back(&m_nodes.emplace_back(file).split);
    m_values.params["keep"].value = "1";
    m_values.params["verify"].value = verify;
    m_values.params["copy_mode"].value = "copy";
    for (auto& [key, data] : m_values.params) data.key = key;
    m_values.updateXML();
  }

  bool run() {
    for (Node& node : m_nodes) {
      m_provider->initNode(&node.domain, nullptr, 0, nullptr);
      std::string text = m_values.getXML().c_str();
      pyx_confspec spec{1, 1, text.data()};
      m_provider->config(&node.domain, 2, m_session, &spec);
    }
    const auto count = static_cast<int>(m_splits.size());
    orca_objid** ids = nullptr;
    int made = 0;
    const bool good = m_provider->prepare(m_session, m_splits.data(), count, 0) == 0 &&
                      m_provider->make(m_session, m_splits.data(), count, &ids, &made) == 0;
    for (int i = 0; i < made; ++i) orca_free_objid(ids[i]);
    orca_free_buf(ids, static_cast<std::size_t>(made) * sizeof(orca_objid*));
    for (Node& node : m_nodes) m_provider->deInitNode(&node.domain);
    return good;
  }

 private:
  CFiPluginBasePtr m_provider = loadProvider();
  orca_pdk::CFiConfigParamDataList m_values;
  std::list<Node> m_nodes;
  std::vector<pyx_splitnode*> m_splits;
  char m_session[6] = "bench";
};

// A file of random data, for all cases that copy one.
class BigFile {
 public:
  BigFile() {
    std::mt19937_64 random(1);
    std::vector<uint64_t> piece(std::size_t{1} << 17);
    std::ofstream file(path());
    for (std::size_t size = 0; size < kFileSize; size += piece.size() * sizeof piece[0]) {
      for (uint64_t& word : piece) word = random();
      file.write(reinterpret_cast<const char*>(piece.data()),
                 static_cast<std::streamsize>(piece.size() * sizeof piece[0]));
    }
  }
  std::string path() const { return m_folder.path() / "disk.img"; }

 private:
  Folder m_folder{fs::temp_directory_path()};
};

const BigFile& bigFile() {
  static const BigFile file;
  return file;
}

void takeFile(benchmark::State& state, const char* verify) {
  Sessions sessions({bigFile().path()}, verify);
  for (auto _ : state) {
    if (!sessions.run()) state.SkipWithError("no snapshot was made");
  }
}

void filesnapCopy(benchmark::State& state) { takeFile(state, "false"); }
void filesnapVerify(benchmark::State& state) { takeFile(state, "true"); }

void runCommand(benchmark::State& state, const std::string& options, const std::string& then) {
  const std::string copy = bigFile().path() + ".copy";
  const std::string command =
      "cp " + options + bigFile().path() + " " + copy + " && " + then + " " + copy + " >/dev/null";
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("cp failed");
    state.PauseTiming();
    fs::remove(copy);
    state.ResumeTiming();
  }
}

void cpAndSync(benchmark::State& state) { runCommand(state, "", "sync"); }
void cpAndMd5sum(benchmark::State& state) { runCommand(state, "--sparse=always ", "md5sum"); }

// In memory: what the provider itself does, without the disk.
void filesnapFiles(benchmark::State& state) {
  const Folder folder("/dev/shm");
  std::vector<std::string> files;
  for (int i = 0; i < state.range(0); ++i) {
    files.push_back(folder.path() / ("file" + std::to_string(i)));
    std::ofstream(files.back()) << i;
  }
  Sessions sessions(files, "false");
  for (auto _ : state) {
    if (!sessions.run()) state.SkipWithError("no snapshot was made");
  }
}

BENCHMARK(filesnapCopy)->Name("filesnap/copy")->UseRealTime();
BENCHMARK(filesnapVerify)->Name("filesnap/verify")->UseRealTime();
BENCHMARK(cpAndSync)->Name("cp/sync")->UseRealTime();
BENCHMARK(cpAndMd5sum)->Name("cp/md5sum")->UseRealTime();
BENCHMARK(filesnapFiles)->Name("filesnap/files")->Arg(100)->Arg(10000)->UseRealTime();

}  // namespace
