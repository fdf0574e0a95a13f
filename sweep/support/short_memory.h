#ifndef ORCA_SWEEP_SHORT_MEMORY_H
#define ORCA_SWEEP_SHORT_MEMORY_H

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>

namespace orca_tests {

// Every allocation of the process, that of libraries included, goes through short_memory.cpp, which
// can let one of them fail. Only the calling thread is counted.

// Runs a piece of work again and again, each time with another allocation failing. The work must
// come to its result or throw std::bad_alloc, leave nothing allocated, and come to its result when
// it is run once more. A crash names the work and the allocation.
struct ShortMemory {
  std::string name;
  // Does the work and answers with a text of what came of it; "" stands for std::bad_alloc.
  std::function<std::string()> work;
  // True when a result other than that of the whole work is right while memory is short.
  std::function<bool(const std::string&)> isStated = [](const std::string&) { return false; };
  // What is held afterwards is not looked at: Xerces-C loses blocks of its own when memory is
  // short.
  bool mayLeak = false;

  void sweep() const;
  // The same, each time in a child process that has not done the work before; what it keeps is not
  // looked at.
  void sweepCold() const;

 private:
  std::size_t countAllocations() const;
  // Lets the nth allocation fail, from 1.
  void failAt(std::size_t failing, const std::string& whole, bool isCold = false) const;
};

// While it lives nothing fails: for what a test does beside the work.
class EnoughMemory {
 public:
  EnoughMemory();
  ~EnoughMemory();
  EnoughMemory(const EnoughMemory&) = delete;
  EnoughMemory& operator=(const EnoughMemory&) = delete;

 private:
  const bool m_before;
};

}  // namespace orca_tests

#endif
