#ifndef FIHOST_FRAMEWORK_FINDINGS_H
#define FIHOST_FRAMEWORK_FINDINGS_H

#include <string>
#include <vector>

namespace fihost {

// A sentence for every buffer and object id that was not given back, or not as it should be.
std::vector<std::string> memoryFindings();

}  // namespace fihost

#endif
