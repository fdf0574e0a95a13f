#ifndef FIHOST_STATE_STATEFOLDER_H
#define FIHOST_STATE_STATEFOLDER_H

#include <string>

#include "files/descriptor.h"

namespace fihost {

// The folder of the host's own state, and files in it, which only root and the caller may own or
// change. What goes wrong is thrown as a Problem (kWrongUse) that names the folder or the file.

// Where the folder is; empty when there is none, which makes none.
std::string findStateFolder(const std::string& path);

// The same; makes it where it is missing, and those above it, with mode 0700 whatever the umask.
std::string makeStateFolder(const std::string& path);

// Sees that a file of the folder can be trusted and is a regular one. False when there is none.
bool isStateFile(const std::string& path);

// Opens it to be read and written; makes it where it is missing, with mode 0600 whatever the umask.
Descriptor openStateFile(const std::string& path);

// Makes what was made or renamed in the folder durable.
void syncFolder(const std::string& folder);

}  // namespace fihost

#endif
