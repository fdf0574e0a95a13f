// Scans fuzzed texts with each of a set of formats, and checks what the sizes promise.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "V_sscanf.h"

namespace {

// The size that the formats are given for every target; what lies behind it must stay as it is.
constexpr unsigned int kSize = 8;
constexpr unsigned char kUntouched = 0xA5;

struct Target {
  unsigned char bytes[kSize];
  unsigned char behind[24];
};

constexpr const char* kFormats[] = {
    "%s %s %s",   "%d %i %u",         "%x %o %p",       "%hhd %hd %lld",
    "%f %lf %Lf", "%[a-z] %[^]x] %c", "%3s%2d%n",       "%*5c%[]0-9]%n",
    "%D,%O,%qd",  "%jd %td %zu",      "%5lf%n%*s%s",    "<MSG ID=%s SEV=%d>",
    "%1i%1i%1i",  "%600d%1e%n",       "%[a-c-e]%%%s%d", "%*d%*f%s",
};

void check(const Target& target) {
  for (unsigned char byte : target.behind) {
    if (byte != kUntouched) abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const char* format = kFormats[data[0] % (sizeof(kFormats) / sizeof(kFormats[0]))];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  Target targets[3];
  memset(targets, kUntouched, sizeof(targets));
  const int assigned = V_sscanf(text.c_str(), format, targets[0].bytes, kSize, targets[1].bytes,
                                kSize, targets[2].bytes, kSize);
  if (assigned < -1 || assigned > 3) abort();
  for (const Target& target : targets) check(target);
  return 0;
}
