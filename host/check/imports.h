#ifndef FIHOST_CHECK_IMPORTS_H
#define FIHOST_CHECK_IMPORTS_H

#include <set>
#include <string>

#include "check/bench.h"

namespace fihost::check {

// The first node as a resource that is imported and deported for a host that nobody has.
class Imports {
 public:
  // Throws Skipped where the provider has no import of its own.
  Imports(const Bench& bench, Life& life);

  bool import();
  bool deport();

 private:
  Life& m_life;
  std::string m_resource;
};

// The files in which LUN numbers are taken.
std::set<std::string> lunNumbers();

}  // namespace fihost::check

#endif
