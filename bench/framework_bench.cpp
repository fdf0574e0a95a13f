#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "cfiplugininterposer.h"
#include "cfiprivatedata.h"

namespace {

using namespace orca_pdk;

constexpr int kPatterns = 1000;

std::string patternOf(int number) { return "pattern-" + std::to_string(100000 + number); }

// An interposer with many patterns, of which only the last occurs in the node's name.
struct Registry {
  Registry() {
    provider.setProviderName("P");
    for (int i = 0; i < kPatterns; ++i) {
      patterns.push_back(patternOf(i));
      provider.addFim(patterns.back(), "fim", "detail", 0, "group");
    }
    name = "<P>/dev/array/enclosure/" + patterns.back();
    id.name = name.data();
    domain.objid = &id;
  }

  CFiPluginInterposer provider;
  std::vector<std::string> patterns;
  std::string name;
  orca_objid id{nullptr, 3};
  pyx_domain domain{};
};

void searchPatterns(benchmark::State& state) {
  const Registry registry;
  for (auto _ : state) {
    for (const std::string& pattern : registry.patterns) {
      const char* found = std::strstr(registry.name.c_str(), pattern.c_str());
      benchmark::DoNotOptimize(found);
      if (found != nullptr) break;
    }
  }
}
BENCHMARK(searchPatterns)->Name("strstr/1000");

void claimNode(benchmark::State& state) {
  Registry registry;
  orca_objid** secondaries = nullptr;
  int count = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(registry.provider.claim(&registry.id, &secondaries, &count));
  }
}
BENCHMARK(claimNode)->Name("claim/1000");

void interposeNode(benchmark::State& state) {
  Registry registry;
  for (auto _ : state) {
    orca_objid* own = nullptr;
    orca_objid** groups = nullptr;
    int count = 0;
    registry.provider.interpose(&registry.domain, &own, &groups, &count);
    for (int i = 0; i < count; ++i) orca_free_objid(groups[i]);
    orca_free_buf(groups, count * sizeof(orca_objid*));
    orca_free_objid(own);
  }
}
BENCHMARK(interposeNode)->Name("interpose/1000");

// The last of many source entries matches.
void selectTarget(benchmark::State& state) {
  std::string value;
  for (int i = 1; i < state.range(0); ++i) {
    value += "[ENC" + std::to_string(i) + "##" + std::to_string(i) + ";T1;T2]";
  }
  value += "[ENC##DEV;T1;T2]";
  char name[] = "UDID##V##P##ENC##DEV";
  orca_objid id{name, 3};
  CFiPrivateData data(&id);
  CFiConfigParamData parameter;
  parameter.key = "snapshot_resource_spec";
  parameter.value = value;
  data.configDataList(1)->params[parameter.key] = parameter;
  for (auto _ : state) {
    if (data.selectTargetFromConfigData() != 0) state.SkipWithError("no target was selected");
  }
}
BENCHMARK(selectTarget)->Name("selection")->Arg(1000)->Arg(10000);

}  // namespace
