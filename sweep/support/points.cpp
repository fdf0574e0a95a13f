#include "support/points.h"

#include <cstdio>
#include <cstdlib>

namespace orca_tests {

namespace {

constexpr std::size_t kPart = 6;

std::size_t setting(const char* name, std::size_t otherwise) {
  const char* const text = std::getenv(name);
  return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

std::size_t limit() { return setting("ORCA_SWEEP_POINTS", kPart); }

}  // namespace

bool isWholeSweep() { return limit() == 0; }

unsigned sweepSeed() { return static_cast<unsigned>(setting("ORCA_SWEEP_SEED", 1)); }

std::vector<std::size_t> sweepPoints(const std::string& name, std::size_t count) {
  const std::size_t tried = isWholeSweep() || limit() > count ? count : limit();
  std::vector<std::size_t> points;
  for (std::size_t i = 0; i < tried; ++i) {
    const std::size_t first = i * count / tried, next = (i + 1) * count / tried;
    points.push_back(first + sweepSeed() % (next - first));
  }
  std::printf("sweep: %s: %zu of %zu points, seed %u\n", name.c_str(), tried, count, sweepSeed());
  std::fflush(stdout);
  return points;
}

}  // namespace orca_tests
