#ifndef FIHOST_FILES_INPUTFILE_H
#define FIHOST_FILES_INPUTFILE_H

#include <string>

#include "files/descriptor.h"

namespace fihost {

// Opens a file that the user named, to be read. A FIFO or a device is an error, not waited for.
// Throws a Problem (kWrongUse) that names the file.
Descriptor openInput(const std::string& path);

// The whole content of such a file.
std::string readInput(const std::string& path);

}  // namespace fihost

#endif
