#ifndef FIRECORD_OWNFILE_H
#define FIRECORD_OWNFILE_H

#include <functional>
#include <string>

#include "files/descriptor.h"
#include "trouble.h"

namespace firecord {

using fihost::Descriptor;
using fihost::retried;

// What could not be done with a file, with the words for errno or another number.
Trouble fileTrouble(const std::string& path, const std::string& what, int error = errno);

// Opens a file to be read and written; flags are added. Made with mode 0600 where there is none. A
// link, what is no regular file, and what belongs to or can be written by another user is refused.
// Throws Trouble.
Descriptor openOwn(const std::string& path, int flags);

// Size in bytes. Throws Trouble.
off_t sizeOf(const Descriptor& file, const std::string& path);

// Does work while no other process does some for the same path: holds the lock PATH.lock. Throws
// Trouble when another process holds that for 30 seconds.
void withLock(const std::string& path, const std::function<void()>& work);

}  // namespace firecord

#endif
