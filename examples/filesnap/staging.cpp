#include "staging.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace filesnap {

namespace {

namespace fs = std::filesystem;

constexpr char kRandomPart[] = "XXXXXX";

[[noreturn]] void raise(const char* call, int error = errno) {
  throw std::system_error(error, std::generic_category(), call);
}

std::string pattern(const fs::path& folder, const std::string& prefix) {
  return (folder / (prefix + kRandomPart)).string();
}

bool isStaged(const std::string& name, const std::string& prefix) {
  return name.starts_with(prefix) && name.size() == prefix.size() + sizeof kRandomPart - 1;
}

bool lock(const Descriptor& file) { return flock(file.get(), LOCK_EX | LOCK_NB) == 0; }

void removeIfDead(const fs::path& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::error_code ignored;
  if (file && lock(file)) fs::remove_all(path, ignored);
}

}  // namespace

Staging::Staging(fs::path path, Descriptor lock)
    : m_path(std::move(path)), m_lock(std::move(lock)) {}

Staging::Staging(Staging&& other) noexcept
    : m_path(std::exchange(other.m_path, fs::path())),
      m_final(std::move(other.m_final)),
      m_lock(std::move(other.m_lock)) {}

Staging::~Staging() {
  if (m_path.empty()) return;
  std::error_code ignored;
  if (!m_final.empty()) fs::rename(m_final, m_path, ignored);
  fs::remove_all(m_path, ignored);
}

// A sweep of another process may come between making and locking: then it removes the thing.
bool Staging::isOurs() const {
  return m_lock && (lock(m_lock) || errno != EWOULDBLOCK) && statusOf(m_lock).st_nlink > 0;
}

Staging Staging::directory(const fs::path& folder, const std::string& prefix) {
  for (;;) {
    std::string name = pattern(folder, prefix);
    if (mkdtemp(name.data()) == nullptr) raise("mkdtemp");
    Descriptor opened = openDirectory(name);
    const int error = opened ? 0 : errno;
    Staging staging(name, std::move(opened));
    if (error != 0 && error != ENOENT) raise("open", error);
    if (staging.isOurs()) return staging;
  }
}

Staging Staging::file(const fs::path& folder, const std::string& prefix) {
  for (;;) {
    std::string name = pattern(folder, prefix);
    Descriptor opened(mkostemp(name.data(), O_CLOEXEC));
    if (!opened) raise("mkostemp");
    Staging staging(name, std::move(opened));
    if (staging.isOurs()) return staging;
  }
}

void Staging::sweep(const fs::path& folder, const std::string& prefix) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (isStaged(entry->path().filename().string(), prefix)) removeIfDead(entry->path());
  }
}

bool Staging::publish(const fs::path& name) {
  fs::path final = name;
  // No directory that holds anything is ever replaced by a rename.
  if (rename(m_path.c_str(), name.c_str()) != 0) {
    if (errno == EEXIST || errno == ENOTEMPTY) return false;
    raise("rename");
  }
  m_final.swap(final);
  return true;
}

}  // namespace filesnap
