#ifndef ORCA_SWEEP_POINTS_H
#define ORCA_SWEEP_POINTS_H

#include <cstddef>
#include <string>
#include <vector>

namespace orca_tests {

// How much a case tries is set in one place, the environment:
//   ORCA_SWEEP_POINTS  points at most a case; 0: all of them; unset: a small part
//   ORCA_SWEEP_SEED    shifts the points of a part, and is the seed of what is random; unset: 1

// True when all points are tried.
bool isWholeSweep();
// Random numbers of the case begin with it.
unsigned sweepSeed();
// Which of the points 0 to count - 1 of a case are tried, spread evenly, in rising order. Prints
// one line that names the case and says how many of how many.
std::vector<std::size_t> sweepPoints(const std::string& name, std::size_t count);

}  // namespace orca_tests

#endif
