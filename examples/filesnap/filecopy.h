#ifndef FILESNAP_FILECOPY_H
#define FILESNAP_FILECOPY_H

#include <functional>
#include <string>

#include "common/files.h"
#include "parameters.h"

namespace filesnap {

using namespace samples;

// Called with the number of bytes done.
using Progress = std::function<void(off_t done)>;

// What is known of a copy that was verified.
struct Copied {
  std::string digest;   // of what was read from the source; empty when not verified
  bool isEqual = true;  // what was read back from the copy is the same
};

// Gives target, an empty file, the content of source: shares its blocks where mode wants it and the
// file system can, else copies the data and leaves the holes. Verified, each piece is read back
// once and the digest made on the way. Throws std::system_error.
Copied cloneOrCopy(const Descriptor& source, const Descriptor& target, CopyMode mode, bool verify,
                   const Progress& progress);

// The MD5 digest of a whole file as 32 hexadecimal digits. Throws std::system_error.
std::string digestOf(const Descriptor& file);

}  // namespace filesnap

#endif
