// A trace call against the system calls that it cannot do without: the settings file is read for
// each call, and each written line opens the trace file, looks at whose it is, and closes it.
//
// The places of both files are fixed. Run it where they are a test's own:
//
//   script/private_usr BUILD/bench/orca_bench --benchmark_filter='trace|bare'
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "../tests/support/private_usr.h"
#include "cfitracelog.h"

namespace {

constexpr const char* kSettings = "/usr/tarn/keystone/kq.conf";
constexpr const char* kTraceFolder = "/usr/tarn/keystone/logs/frzcmd/";
constexpr const char* kConfigFolder = "/usr/tarn/lib/orca/configfiles/";
constexpr const char* kBareFile = "/usr/tarn/keystone/logs/frzcmd/bare.log";
constexpr const char kMessage[] =
    "INFO: a line of the usual length for volume [%s] with result [%d]";

bool makeFiles() {
  if (!orca_tests::isUsrPrivate()) return false;
  unsetenv("ORCA_INSTALL_ROOT");
  std::filesystem::create_directories(kTraceFolder);
  std::filesystem::create_directories(kConfigFolder);
  std::ofstream(kSettings) << "# product settings\nLOGGING = 1\nFRZCMD_VERBOSE = 5\n";
  return true;
}

// Two initialisations: the first one makes the settings and leaves the log off.
orca_pdk_4_4::CFiTraceLogPtr makeLog() {
  orca_pdk_4_4::CFiTraceLogPtr log(new orca_pdk_4_4::CFiTraceLog);
  for (int i = 0; i < 2; ++i) log->initialize("bench", "", "", 3, false);
  return log;
}

void traceAtLevel(benchmark::State& state, int level) {
  if (!makeFiles()) {
    state.SkipWithError("needs a /usr/tarn of its own: script/private_usr");
    return;
  }
  const orca_pdk_4_4::CFiTraceLogPtr log = makeLog();
  if (!log->isInitialized()) {
    state.SkipWithError("the trace log cannot be opened");
    return;
  }
  for (auto _ : state) log->trace(level, kMessage, "vol01", 0);
}

void readSettings() {
  char block[4096];
  const int fd = open(kSettings, O_RDONLY | O_CLOEXEC);
  benchmark::DoNotOptimize(read(fd, block, sizeof(block)));
  close(fd);
}

void appendLine(const std::string& line) {
  const int fd = open(kBareFile, O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  struct stat status;
  benchmark::DoNotOptimize(fstat(fd, &status) == 0 && status.st_uid == geteuid());
  benchmark::DoNotOptimize(write(fd, line.data(), line.size()));
  close(fd);
}

void bareCalls(benchmark::State& state, bool append) {
  if (!makeFiles()) {
    state.SkipWithError("needs a /usr/tarn of its own: script/private_usr");
    return;
  }
  const std::string line(130, 'x');
  for (auto _ : state) {
    readSettings();
    if (append) appendLine(line);
  }
}

BENCHMARK_CAPTURE(traceAtLevel, filtered, 6)->Name("trace/filtered");
BENCHMARK_CAPTURE(bareCalls, read, false)->Name("bare/read_settings");
BENCHMARK_CAPTURE(traceAtLevel, written, 3)->Name("trace/written");
BENCHMARK_CAPTURE(bareCalls, append, true)->Name("bare/read_settings_and_append");

}  // namespace
