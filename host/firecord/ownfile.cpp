#include "ownfile.h"

#include <cfifilelock.h>
#include <cfitypes.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>
#include <system_error>

namespace firecord {

namespace {

constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

struct stat statusOf(const Descriptor& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw fileTrouble(path, "cannot look at it");
  return status;
}

void requireOwn(const Descriptor& file, const std::string& path) {
  const struct stat status = statusOf(file, path);
  const auto refuse = [&](const char* why) { throw Trouble{kTroubled, path + ": " + why}; };
  if (!S_ISREG(status.st_mode)) refuse("it is no regular file");
  if (status.st_uid != geteuid()) refuse("it belongs to another user");
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) refuse("other users can write it");
}

}  // namespace

Trouble fileTrouble(const std::string& path, const std::string& what, int error) {
  return {kTroubled, path + ": " + what + ": " + std::strerror(error)};
}

Descriptor openOwn(const std::string& path, int flags) {
  const auto opened = [&](int more) {
    return Descriptor(retried([&] { return open(path.c_str(), kFlags | flags | more, 0600); }));
  };
  for (;;) {
    if (Descriptor made = opened(O_CREAT | O_EXCL)) {
      if (fchmod(made.get(), 0600) != 0) throw fileTrouble(path, "cannot keep it from others");
      return made;
    }
    if (errno != EEXIST) throw fileTrouble(path, "cannot make it");
    if (Descriptor file = opened(0)) {
      requireOwn(file, path);
      return file;
    }
    if (errno == ELOOP) throw Trouble{kTroubled, path + ": it is a link"};
    if (errno != ENOENT) throw fileTrouble(path, "cannot open it");
  }
}

off_t sizeOf(const Descriptor& file, const std::string& path) {
  return statusOf(file, path).st_size;
}

void withLock(const std::string& path, const std::function<void()>& work) {
  const std::string name = path + ".lock";
  try {
    const orca_pdk::CFiFileLock lock(AT_FDCWD, name);
    work();
  } catch (const orca_pdk::CFiLockHeld& held) {
    throw Trouble{kTroubled, name + ": process " + held.process() + " holds it"};
  } catch (const std::system_error& error) {
    throw Trouble{kTroubled, error.what()};
  }
}

}  // namespace firecord
