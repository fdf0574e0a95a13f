#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// A snapshot taken by fihost with many known against one with few.

namespace {

namespace fs = std::filesystem;

constexpr long kMostMemory = 60 * 1024;  // KiB

// A state with so many snapshots of other nodes, and a file to take snapshots of.
class Known {
 public:
  explicit Known(long count) {
    std::string pattern = (fs::temp_directory_path() / "orca-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the benchmark");
    m_path = pattern;
    std::ofstream(m_path / "file") << "content";
    // The list of hosts before, which the first run takes over.
    std::ofstream list(m_path / "state.json");
    list << R"({"version": 1, "snapshots": [)";
    for (long i = 0; i < count; ++i) {
      const std::string name = "/srv/file" + std::to_string(i);
      list << (i == 0 ? "" : ",") << R"({"name": ")" << name << R"(.snap", "node": ")" << name
           << R"(", "session": "s", "provider": "filesnap", "plugin": "/p", "taken": "t",)"
           << R"("values": ")" << std::string(300, 'v') << R"(", "provider_state": ""})";
    }
    list << "]}";
    list.close();
    take();
  }
  ~Known() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  Known(const Known&) = delete;
  Known& operator=(const Known&) = delete;

  // The most memory that it held, in KiB.
  long take() const {
    const std::string state = m_path, file = m_path / "file";
    std::vector<std::string> words{FIHOST_PROGRAM, "--json",        "--state", state,   "snapshot",
                                   "--plugin",     FILESNAP_PLUGIN, file,      "--set", "keep=1"};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t silent;
    posix_spawn_file_actions_init(&silent);
    posix_spawn_file_actions_addopen(&silent, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int failed =
        posix_spawn(&pid, FIHOST_PROGRAM, &silent, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&silent);
    int status = 1;
    rusage usage{};
    if (failed != 0 || wait4(pid, &status, 0, &usage) != pid || status != 0) {
      throw std::runtime_error("fihost took no snapshot");
    }
    return usage.ru_maxrss;
  }

 private:
  fs::path m_path;
};

void snapshotWithKnown(benchmark::State& state) {
  static std::map<long, Known> states;
  const Known& known = states.try_emplace(state.range(0), state.range(0)).first->second;
  for (auto _ : state) {
    if (known.take() > kMostMemory) state.SkipWithError("fihost held more than 60 MiB");
  }
}

BENCHMARK(snapshotWithKnown)->Name("fihost/known")->Arg(100)->Arg(100000)->UseRealTime();

}  // namespace
