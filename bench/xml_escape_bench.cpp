// Escaping 1 MiB of text for XML against libxml2: text without special characters, and text in
// which every twentieth character is one.
#include <benchmark/benchmark.h>
#include <libxml/entities.h>
#include <libxml/xmlmemory.h>

#include <cstddef>
#include <string>

#include "cfistringtool.h"

namespace {

constexpr std::size_t kSize = 1 << 20;

std::string text(bool special) {
  std::string bytes(kSize, ' ');
  for (std::size_t i = 0; i < kSize; ++i) {
    bytes[i] = special && i % 20 == 19 ? "&<>\""[i / 20 % 4] : static_cast<char>('a' + i % 26);
  }
  return bytes;
}

void kitEscape(benchmark::State& state, bool special) {
  const std::string input = text(special);
  for (auto _ : state) {
    const std::string escaped = orca_pdk_4_4::CFiStringTool::convertToXmlSpecialCharacters(input);
    benchmark::DoNotOptimize(escaped.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kSize));
}

void libxmlEscape(benchmark::State& state, bool special) {
  const std::string input = text(special);
  for (auto _ : state) {
    xmlChar* const escaped =
        xmlEncodeSpecialChars(nullptr, reinterpret_cast<const xmlChar*>(input.c_str()));
    benchmark::DoNotOptimize(escaped);
    xmlFree(escaped);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kSize));
}

BENCHMARK_CAPTURE(kitEscape, special, false)->Name("convertToXmlSpecialCharacters/clean");
BENCHMARK_CAPTURE(libxmlEscape, special, false)->Name("xmlEncodeSpecialChars/clean");
BENCHMARK_CAPTURE(kitEscape, special, true)->Name("convertToXmlSpecialCharacters/one-in-twenty");
BENCHMARK_CAPTURE(libxmlEscape, special, true)->Name("xmlEncodeSpecialChars/one-in-twenty");

}  // namespace
