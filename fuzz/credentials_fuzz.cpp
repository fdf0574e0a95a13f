// Parses fuzzed credential texts for both kinds of arrays, and checks what the records promise.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "cficredentials.h"

namespace {

using namespace orca_pdk_4_4;

std::vector<SFiCredential> parse(const std::string& text, const std::string& vendor,
                                 bool openArray) {
  std::vector<SFiCredential> out;
  CFiCredentialsParser parser;
  if (parser.parse(text, vendor, "", out, openArray) != 0) abort();
  return out;
}

void checkQuotes(const std::string& text) {
  std::string inner = text;
  const bool isDone = CFiCredentialsParser().removeQuotes(inner);
  if (!isDone && inner != text) abort();
  if (isDone && text.compare(1, inner.size() + 1, inner + "\"") != 0) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Most inputs shall reach the value lines.
  const std::string text = "[STORAGE_MANAGEMENT_SERVICE\\1\\acme]\n" +
                           std::string(reinterpret_cast<const char*>(data), size);
  const std::vector<SFiCredential> all = parse(text, "", false);
  for (const SFiCredential& record : all) {
    if (record.hostname.empty() || record.username.empty() || record.password.empty()) abort();
  }
  if (parse(text, "acme", false).size() > all.size()) abort();
  if (all.size() > parse(text + "\n[]\n", "", false).size()) abort();
  parse("[STORAGE_MANAGEMENT_SERVICE\\1\\OPENARRAY]\n" + text, "", true);
  checkQuotes(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
