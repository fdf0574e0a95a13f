#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cfiexecpipe.h"
#include "cfipblm.h"

// Commands against the C library's own, and the first map of an enclosure against reading its
// files.

namespace {

using orca_pdk::CFiExecPipePosix;
using orca_pdk::CFiPblmOps;

constexpr const char* kTrue = "/bin/true";
constexpr std::size_t kOutputSize = 100 << 20;
constexpr std::size_t kRecords = 256;

class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orca-bench-XXXXXX").string();
    m_path = mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(m_path); }
  const std::filesystem::path& path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

void runTrue(const char* stdinFile = "") {
  CFiExecPipePosix pipe(0);
  std::vector<std::string> output;
  if (pipe.Exec(kTrue, output, stdinFile, 60, "", "", "") != 0) std::abort();
}

void execTrue(benchmark::State& state) {
  for (auto _ : state) runTrue();
}
BENCHMARK(execTrue)->Name("Exec/true")->UseRealTime();

void execTrueWithInput(benchmark::State& state) {
  for (auto _ : state) runTrue(kTrue);
}
BENCHMARK(execTrueWithInput)->Name("Exec/true_with_input")->UseRealTime();

void popenTrue(benchmark::State& state) {
  char buffer[512];
  for (auto _ : state) {
    FILE* stream = popen(kTrue, "r");
    while (fgets(buffer, sizeof buffer, stream) != nullptr) {
    }
    pclose(stream);
  }
}
BENCHMARK(popenTrue)->Name("popen/true")->UseRealTime();

void execTrueLarge(benchmark::State& state) {
  constexpr std::size_t kSize = std::size_t{4} << 30;
  constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS;
  void* memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, kFlags, -1, 0);
  if (memory == MAP_FAILED) {
    state.SkipWithError("4 GiB cannot be had");
    return;
  }
  madvise(memory, kSize, MADV_NOHUGEPAGE);
  std::memset(memory, 1, kSize);
  for (auto _ : state) runTrue();
  munmap(memory, kSize);
}
BENCHMARK(execTrueLarge)->Name("Exec/true_4GiB")->UseRealTime();

// A command that writes 100 MiB in lines of 80 bytes.
const std::string& longOutput() {
  static const Folder folder;
  static const std::string command = [] {
    const std::string path = folder.path() / "lines";
    std::ofstream file(path);
    const std::string line = std::string(79, 'x') + "\n";
    for (std::size_t written = 0; written < kOutputSize; written += line.size()) file << line;
    return "/bin/cat " + path;
  }();
  return command;
}

void readLines(benchmark::State& state) {
  const std::string& command = longOutput();
  char line[8192];
  unsigned char timedOut = 0;
  for (auto _ : state) {
    CFiExecPipePosix pipe(0);
    std::size_t total = 0;
    if (pipe.ExecPipe(command, "") != 0) std::abort();
    while (pipe.ReadLine(line, sizeof line - 1, &timedOut, 60)) total += std::strlen(line);
    if (pipe.Close(10) != 0 || total < kOutputSize) std::abort();
  }
}
BENCHMARK(readLines)->Name("ReadLine/100MiB")->UseRealTime()->Unit(benchmark::kMillisecond);

void getLines(benchmark::State& state) {
  const std::string& command = longOutput();
  char buffer[512];
  for (auto _ : state) {
    FILE* stream = popen(command.c_str(), "r");
    setvbuf(stream, buffer, _IOFBF, sizeof buffer);
    char* line = nullptr;
    std::size_t size = 0;
    std::size_t total = 0;
    while (getline(&line, &size, stream) > 0) total += std::strlen(line);
    std::free(line);
    if (pclose(stream) != 0 || total < kOutputSize) std::abort();
  }
}
BENCHMARK(getLines)->Name("getline/100MiB")->UseRealTime()->Unit(benchmark::kMillisecond);

// An install root with one enclosure whose LUN numbers are all taken.
const std::string& enclosureFolder() {
  static const Folder root;
  static const std::string folder = [] {
    setenv("ORCA_INSTALL_ROOT", root.path().c_str(), 1);
    const std::filesystem::path path = root.path() / "lib/orca/cachefiles/luns/E1";
    std::filesystem::create_directories(path);
    for (std::size_t n = 0; n < kRecords; ++n) {
      std::ofstream(path / ("UDID##V##P##E1##DEV" + std::to_string(n))) << n;
    }
    return path.string() + "/";
  }();
  return folder;
}

void firstMap(benchmark::State& state) {
  enclosureFolder();
  for (auto _ : state) {
    CFiPblmOps cache;
    orca_pdk::lunNum* map = nullptr;
    if (!cache.getEnclMap("E1", &map) || !map->used.all()) std::abort();
  }
}
BENCHMARK(firstMap)->Name("enclosure_map/256");

void readFolder(benchmark::State& state) {
  const std::string& folder = enclosureFolder();
  char buffer[1024];
  for (auto _ : state) {
    DIR* directory = opendir(folder.c_str());
    while (const dirent* entry = readdir(directory)) {
      if (entry->d_name[0] == '.') continue;
      const int fd = open((folder + entry->d_name).c_str(), O_RDONLY);
      benchmark::DoNotOptimize(read(fd, buffer, sizeof buffer));
      close(fd);
    }
    closedir(directory);
  }
}
BENCHMARK(readFolder)->Name("bare_readdir/256");

}  // namespace
