// Defaults added to a node's values: the names of all values are searched for each default, so ten
// times as many on both sides may take a hundred times as long.
#include <benchmark/benchmark.h>

#include <string>

#include "cfiprivatedata.h"

namespace {

using orca_pdk::CFiConfigParamData;
using orca_pdk::CFiConfigParamDataList;
using orca_pdk::CFiConfigParamInfo;
using orca_pdk::CFiConfigParamInfoList;
using orca_pdk::CFiPrivateData;

CFiConfigParamInfoList descriptions(int count) {
  CFiConfigParamInfoList list;
  for (int i = 0; i < count; ++i) {
    const std::string key = "retention_policy_" + std::to_string(10000 + i);
    CFiConfigParamInfo& info = list.params[key];
    info.key = key;
    info.defaultValue = "daily";
  }
  return list;
}

CFiConfigParamDataList values(int count) {
  CFiConfigParamDataList list;
  for (int i = 0; i < count; ++i) {
    const std::string key = "snapshot_target_" + std::to_string(10000 + i);
    CFiConfigParamData& data = list.params[key];
    data.key = key;
    data.value = "/dev/dsk/c0t0d0";
  }
  list.updateXML();
  return list;
}

void addDefaults(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  CFiConfigParamInfoList defaults = descriptions(count);
  const CFiConfigParamDataList before = values(count);
  CFiPrivateData data;
  for (auto _ : state) {
    state.PauseTiming();
    *data.configDataList(0) = before;
    state.ResumeTiming();
    data.addDefaultConfigParamsToDataList(0, &defaults);
  }
}

BENCHMARK(addDefaults)->Name("add_defaults")->Arg(100)->Arg(1000);

}  // namespace
