#ifndef ORCA_TESTS_BREAKING_H
#define ORCA_TESTS_BREAKING_H

#include <cstdlib>
#include <string_view>

// The requirement that CHECK_BREAK names is the one that the provider does not keep.
inline bool breaks(std::string_view requirement) {
  const char* broken = std::getenv("CHECK_BREAK");
  return broken != nullptr && requirement == broken;
}

// Breaks requirements about what a plug-in leaves alone.
void breakSurroundings();

#endif
