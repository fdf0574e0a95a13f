#ifndef FILESNAP_STAGING_H
#define FILESNAP_STAGING_H

#include <filesystem>
#include <string>

#include "filecopy.h"

namespace filesnap {

// A file or directory under a temporary name, on its way to its final one. A lock marks it as in
// use, so that what a dead process left can be told from what a live one is filling. Whatever was
// not kept is removed at the end of the scope, errors ignored.
//
// On a file system without locks everything works, but nothing is swept.
//
// Operations throw std::system_error.
class Staging {
 public:
  // Makes a directory (mode 0700) below folder, or a file (mode 0600) in it. Its name is prefix and
  // six characters.
  static Staging directory(const std::filesystem::path& folder, const std::string& prefix);
  static Staging file(const std::filesystem::path& folder, const std::string& prefix);
  // Removes what dead processes left in the folder under such names. Fails silently.
  static void sweep(const std::filesystem::path& folder, const std::string& prefix);

  Staging(Staging&& other) noexcept;
  Staging& operator=(Staging&&) = delete;
  ~Staging();

  const std::filesystem::path& path() const { return m_path; }
  // The file or directory, locked.
  const Descriptor& descriptor() const { return m_lock; }

  // Gives it its final name. A file replaces the one that has the name; for a directory the answer
  // is false when the name is taken. Not kept, it goes back under the temporary name and away.
  bool publish(const std::filesystem::path& name);
  // From now on it stays.
  void keep() noexcept { m_path.clear(); }

 private:
  Staging(std::filesystem::path path, Descriptor lock);
  bool isOurs() const;

  std::filesystem::path m_path;   // the temporary name; empty: nothing to remove
  std::filesystem::path m_final;  // the name that it was published under
  Descriptor m_lock;
};

}  // namespace filesnap

#endif
