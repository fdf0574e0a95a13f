#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "cficonfiguration.h"
#include "cficredentials.h"

namespace {

using namespace orca_pdk;

std::string credentialText(long sections) {
  std::string text;
  for (long i = 0; i < sections; ++i) {
    text += "[STORAGE_MANAGEMENT_SERVICE\\A\\VENDOR_PRODUCT_" + std::to_string(i) +
            "]\n\"HOSTNAME\"=\"host" + std::to_string(i) +
            "\"\n\"USERNAME\"=\"user\"\n\"PASSWORD\"=\"secret\"\n\"PORT\"=dword:443\n";
  }
  return text;
}

void parseText(benchmark::State& state) {
  const std::string text = credentialText(state.range(0));
  CFiCredentialsParser parser;
  for (auto _ : state) {
    std::vector<SFiCredential> found;
    parser.parse(text, "VENDOR", "PRODUCT", found, false);
    if (static_cast<long>(found.size()) != state.range(0)) state.SkipWithError("sections lost");
  }
}
BENCHMARK(parseText)->Name("credentials")->Arg(1000)->Arg(10000);

void importSections(benchmark::State& state) {
  unsetenv("ORCA_CREDENTIALS");
  CFiConfiguration store;
  ACE_Configuration_Section_Key parent;
  store.openSection("ARRAYS", parent, 1);
  for (long i = 0; i < state.range(0); ++i) {
    ACE_Configuration_Section_Key section;
    store.openSection(parent, ("ARRAY_" + std::to_string(i)).c_str(), section, 1);
    store.setStringValue("HOSTNAME", tstr(("host" + std::to_string(i)).c_str()));
    store.setStringValue("USERNAME", "user");
    store.setStringValue("PASSWORD", "secret");
  }
  for (auto _ : state) {
    const auto found = store.importCredentials("", "", "ARRAYS", false);
    if (static_cast<long>(found.size()) != state.range(0)) state.SkipWithError("sections lost");
  }
}
BENCHMARK(importSections)->Name("import")->Arg(100)->Arg(1000);

}  // namespace
