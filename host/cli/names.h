#ifndef FIHOST_CLI_NAMES_H
#define FIHOST_CLI_NAMES_H

#include <string>

namespace fihost {

// True when something stands at that path, if only a link to nowhere.
bool isExistingPath(const std::string& name);

// The name that a node or a snapshot has from any folder: that of an existing path made absolute,
// without "." and ".."; a link that the path itself ends in stays. Other names stay as they are.
// Throws a Problem where the path cannot be followed.
std::string absoluteName(const std::string& name);

}  // namespace fihost

#endif
