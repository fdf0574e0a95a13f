#ifndef ORCA_TESTS_BREAKING_H
#define ORCA_TESTS_BREAKING_H

#include <sys/types.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// The requirement that CHECK_BREAK names is the one that the provider does not keep.
inline bool breaks(std::string_view requirement) {
  const char* broken = std::getenv("CHECK_BREAK");
  return broken != nullptr && requirement == broken;
}

// Breaks requirements about what a plug-in leaves alone.
void breakSurroundings();

// What grows with each node where a requirement about that is broken; all is gone with the object.
class Growth {
 public:
  ~Growth();
  void grow();

 private:
  std::vector<int> m_descriptors;
  std::vector<std::jthread> m_threads;
  std::vector<pid_t> m_children;
  std::vector<std::string> m_memory;
  int m_calls = 0;
};

#endif
