#include "files/inputfile.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>

#include "cli/exitstatus.h"

namespace fihost {

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw Problem{kWrongUse, "cannot read " + path + ": " + why};
}

}  // namespace

Descriptor openInput(const std::string& path) {
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  struct stat status {};
  // Looked at first, since opening a device may do something to it.
  if (stat(path.c_str(), &status) != 0) refuse(path, strerror(errno));
  if (!S_ISREG(status.st_mode)) refuse(path, "it is no regular file");
  Descriptor file(retried([&] { return open(path.c_str(), kFlags); }));
  if (!file || fstat(file.get(), &status) != 0) refuse(path, strerror(errno));
  if (!S_ISREG(status.st_mode)) refuse(path, "it is no regular file");
  return file;
}

std::string readInput(const std::string& path) {
  const Descriptor file = openInput(path);
  std::string text;
  char piece[4096];
  for (;;) {
    const ssize_t got = retried([&] { return read(file.get(), piece, sizeof piece); });
    if (got < 0) refuse(path, strerror(errno));
    if (got == 0) return text;
    text.append(piece, static_cast<std::size_t>(got));
  }
}

}  // namespace fihost
