// The kit's formatting and scanning beside the C library's, on the same input and format.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "V_sscanf.h"
#include "V_strings.h"

namespace {

constexpr char kLine[] = "%s:%d: volume %s has %u paths, state 0x%08lx";
constexpr char kNumber[] = "  -1234567 rest";
constexpr char kWords[] = "emcpower12c /dev/qv/rdsk/dg/vol0001 rest";

template <class Format>
void formatLine(benchmark::State& state, Format format) {
  char out[256];
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        format(out, sizeof(out), kLine, "cfipluginbase", 1234, "dg/vol0001", 4U, 0xfeedUL));
    benchmark::ClobberMemory();
  }
}

template <class Scan>
void scan(benchmark::State& state, Scan scanOnce) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(scanOnce());
    benchmark::ClobberMemory();
  }
}

int g_number;
char g_first[64];
char g_second[64];

BENCHMARK_CAPTURE(formatLine, V, V_snprintf)->Name("V_snprintf");
BENCHMARK_CAPTURE(formatLine, c, snprintf)->Name("snprintf");
BENCHMARK_CAPTURE(scan, Vd, [] {
  return V_sscanf(kNumber, "%d", &g_number, 4);
})->Name("V_sscanf_d");
BENCHMARK_CAPTURE(scan, d, [] { return sscanf(kNumber, "%d", &g_number); })->Name("sscanf_d");
BENCHMARK_CAPTURE(scan, Vwords, [] {
  return V_sscanf(kWords, "%s %s", g_first, 64, g_second, 64);
})->Name("V_sscanf_words");
BENCHMARK_CAPTURE(scan, words, [] {
  return sscanf(kWords, "%63s %63s", g_first, g_second);
})->Name("sscanf_words");

}  // namespace
