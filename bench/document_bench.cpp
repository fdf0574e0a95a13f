// Value documents: parse against the same reader with a handler that does nothing; updateXML as
// time a value. The program is linked at several places of the code, since the same code can take a
// tenth more or less time elsewhere.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <xercesc/sax2/DefaultHandler.hpp>

#include "cficonfig.h"
#include "cfisaxparser.h"

namespace {

using orca_pdk_4_4::CFiConfigParamDataList;

CFiConfigParamDataList listOf(int64_t count) {
  CFiConfigParamDataList list;
  for (int64_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(1000000 + i);
    auto& data = list.params["param" + number];
    data.key = "param" + number;
    data.value = "<disk & lun " + number + ">";
  }
  list.updateXML();
  return list;
}

void countValues(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void parse(benchmark::State& state) {
  const CFiConfigParamDataList source = listOf(state.range(0));
  CFiConfigParamDataList list;
  for (auto _ : state) {
    if (list.parse(source.getXML().c_str()) != 0) state.SkipWithError("refused");
  }
  countValues(state);
}

void readOnly(benchmark::State& state) {
  const CFiConfigParamDataList source = listOf(state.range(0));
  for (auto _ : state) {
    xercesc::DefaultHandler nothing;
    orca_pdk_4_4::CFiSaxParser parser(&nothing);
    parser.parse(std::string(source.getXML().c_str(), source.getXML().length()));
  }
  countValues(state);
}

void updateXML(benchmark::State& state) {
  CFiConfigParamDataList list = listOf(state.range(0));
  for (auto _ : state) {
    list.updateXML();
    benchmark::DoNotOptimize(list.getXML().c_str());
  }
  countValues(state);
}

void sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(20)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(readOnly)->Name("document/read with an empty handler")->Apply(sizes);
BENCHMARK(parse)->Name("document/CFiConfigParamDataList::parse")->Apply(sizes);
BENCHMARK(updateXML)->Name("document/CFiConfigParamDataList::updateXML")->Apply(sizes);

}  // namespace
