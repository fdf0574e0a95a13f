#include "files/trust.h"

#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <optional>

namespace fihost {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;  // the group's bit also bounds access lists
constexpr int kMostLinks = 40;

// Whoever owns the root folder, and so can change all below it. That is user 0, but has another
// number in a user namespace that does not map it.
uid_t rootUser() {
  struct stat status {};
  return stat("/", &status) == 0 ? status.st_uid : 0;
}

bool isOpen(const struct stat& status) {
  return !S_ISLNK(status.st_mode) && (status.st_mode & kOthersWrite) != 0;
}

std::string modeText(const struct stat& status) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(status.st_mode & 07777));
  return text;
}

// The way to a path, name by name from the root.
class Way {
 public:
  Way(const fs::path& path, const char* what, Exit exit) : m_what(what), m_exit(exit) {
    ahead(path);
    m_path = path.string();
  }

  std::string walk() {
    requireOwner("/", *look("/"));
    while (!m_rest.empty()) {
      const fs::path name = m_rest.front();
      m_rest.pop_front();
      if (name.empty() || name == "." || name == "/") continue;
      if (name == "..") {
        m_place = m_place.parent_path();
      } else if (!step(m_place / name)) {
        return "";
      }
    }
    const auto status = look(m_place);
    if (status && isOpen(*status)) refuseOpen(m_place, *status);
    return m_place.string();
  }

 private:
  void ahead(const fs::path& path) { m_rest.insert(m_rest.begin(), path.begin(), path.end()); }

  // False when there is nothing.
  bool step(const fs::path& next) {
    const auto folder = look(m_place);
    const auto status = look(next);
    if (!status) return false;
    requireOwner(next, *status);
    const bool isOwnFolder = S_ISDIR(status->st_mode) && status->st_uid == geteuid();
    if (folder && isOpen(*folder) && !isOwnFolder) refuseOpen(m_place, *folder);
    if (S_ISLNK(status->st_mode)) {
      follow(next);
    } else {
      const bool isSticky = S_ISDIR(status->st_mode) && (status->st_mode & S_ISVTX) != 0;
      if (isOpen(*status) && !isSticky) refuseOpen(next, *status);
      m_place = next;
    }
    return true;
  }

  void follow(const fs::path& link) {
    std::error_code error;
    const fs::path target = fs::read_symlink(link, error);
    if (!error && ++m_links > kMostLinks) error.assign(ELOOP, std::generic_category());
    if (error) refuse("cannot look at " + link.string() + ": " + error.message());
    if (target.is_absolute()) m_place = "/";
    ahead(target);
  }

  // Nothing where there is no such thing.
  std::optional<struct stat> look(const fs::path& path) const {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) return status;
    if (errno == ENOENT) return std::nullopt;
    refuse("cannot look at " + path.string() + ": " + strerror(errno));
  }

  void requireOwner(const fs::path& path, const struct stat& status) const {
    if (status.st_uid == geteuid() || status.st_uid == rootUser()) return;
    refuse(path.string() + " belongs to user " + std::to_string(status.st_uid) +
           ", who is neither root nor the caller");
  }

  [[noreturn]] void refuseOpen(const fs::path& path, const struct stat& status) const {
    refuse("other users can change " + path.string() + " (mode " + modeText(status) + ")");
  }

  [[noreturn]] void refuse(const std::string& why) const {
    throw Problem{m_exit, std::string(m_what) + ": " + m_path + " is not trusted: " + why};
  }

  const char* m_what;
  Exit m_exit;
  std::string m_path;
  fs::path m_place = "/";
  std::deque<fs::path> m_rest;
  int m_links = 0;
};

}  // namespace

std::string trustedPlace(const std::string& path, const char* what, Exit exit) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  if (error) throw Problem{exit, std::string(what) + ": cannot tell where " + path + " is"};
  return Way(absolute, what, exit).walk();
}

}  // namespace fihost
