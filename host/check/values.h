#ifndef FIHOST_CHECK_VALUES_H
#define FIHOST_CHECK_VALUES_H

#include <string>
#include <utility>
#include <vector>

#include "check/bench.h"

namespace fihost::check {

// The key of a parameter and its value.
using Setting = std::pair<std::string, std::string>;

// The parameters of the first node. Throws Skipped when they cannot be read (a requirement of its
// own) and when there are none.
Descriptions descriptionsOf(Life& life);

// A ConfigValueList.
std::string documentOf(const std::vector<Setting>& settings);

// The values of a node as GET gives them; empty when it gives none.
std::string valuesOf(Life& life, Node& node);

// The value of a key in a ConfigValueList, empty when it has none.
std::string valueOf(const std::string& document, const std::string& key);

// A setting that differs from its default; throws Skipped where no description allows one.
Setting anotherValue(const Descriptions& descriptions);

}  // namespace fihost::check

#endif
