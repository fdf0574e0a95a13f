#include "staging.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <unistd.h>

#include <system_error>
#include <utility>

namespace filesnap {

namespace {

constexpr std::size_t kTemporaryPart = 6;
constexpr int kLevels = 2;  // a session's folder, and those of its snapshots

bool isStaged(const std::string& name, const std::string& prefix) {
  return name.starts_with(prefix) && name.size() == prefix.size() + kTemporaryPart;
}

bool lock(const Descriptor& file) {
  return retried([&] { return flock(file.get(), LOCK_EX | LOCK_NB); }) == 0;
}

void removeIfDead(const Descriptor& parent, const std::string& name) {
  const Descriptor file = openIn(parent, name, O_RDONLY);
  if (!file || statusOf(file).st_uid != geteuid()) return;
  if (lock(file)) removeTree(parent, name.c_str(), kLevels);
}

}  // namespace

Staging::Staging(const Descriptor& parent, std::string name, Descriptor lock)
    : m_parent(&parent), m_name(std::move(name)), m_lock(std::move(lock)) {}

Staging::Staging(Staging&& other) noexcept
    : m_parent(other.m_parent),
      m_name(std::exchange(other.m_name, std::string())),
      m_lock(std::move(other.m_lock)) {}

Staging::~Staging() {
  if (!m_name.empty()) removeTree(*m_parent, m_name.c_str(), kLevels);
}

// A sweep of another process may come between making and locking: then it removes the thing.
bool Staging::isOurs() const {
  return (lock(m_lock) || errno != EWOULDBLOCK) && statusOf(m_lock).st_nlink > 0;
}

template <typename Make>
Staging Staging::make(const Descriptor& parent, const std::string& prefix, Make make) {
  for (;;) {
    std::string name = prefix + randomText(kTemporaryPart);
    try {
      Descriptor made = make(parent, name);
      Staging staging(parent, std::move(name), std::move(made));
      if (staging.isOurs()) return staging;
    } catch (const std::system_error& error) {
      if (error.code() != std::errc::file_exists) throw;
    }
  }
}

Staging Staging::folder(const Descriptor& parent, const std::string& prefix) {
  return make(parent, prefix, createFolder);
}

Staging Staging::file(const Descriptor& parent, const std::string& prefix) {
  return make(parent, prefix, createFile);
}

void Staging::sweep(const Descriptor& parent, const std::string& prefix) noexcept {
  try {
    for (const std::string& name : namesIn(parent)) {
      if (isStaged(name, prefix)) removeIfDead(parent, name);
    }
  } catch (...) {
    return;  // what stays is swept another time
  }
}

void Staging::publish(const std::string& name) {
  const int folder = m_parent->get();
  checked("rename", [&] { return renameat(folder, m_name.c_str(), folder, name.c_str()); });
  m_name.clear();
}

}  // namespace filesnap
