#ifndef FILESNAP_STAGING_H
#define FILESNAP_STAGING_H

#include <string>

#include "common/files.h"

namespace filesnap {

using namespace samples;

// A file or folder under a temporary name, on its way to its final one. A lock marks it as in use,
// so that what a dead process left can be told from what a live one is filling. What was not
// published is removed at the end of the scope, errors ignored; a folder with all in it.
//
// On a file system without locks everything works, but nothing is swept.
//
// Operations throw std::system_error.
class Staging {
 public:
  // Makes a folder (mode 0700) or a file (mode 0600) in an opened folder, which must stay open as
  // long. Its name is prefix and six characters.
  static Staging folder(const Descriptor& parent, const std::string& prefix);
  static Staging file(const Descriptor& parent, const std::string& prefix);
  // Removes what dead processes of this user left under such names. Fails silently.
  static void sweep(const Descriptor& parent, const std::string& prefix) noexcept;

  Staging(Staging&& other) noexcept;
  Staging& operator=(Staging&&) = delete;
  ~Staging();

  // The file or folder, locked.
  const Descriptor& descriptor() const { return m_lock; }

  // Gives a file its final name, in the place of the file that has it. Then it stays.
  void publish(const std::string& name);

 private:
  Staging(const Descriptor& parent, std::string name, Descriptor lock);
  template <typename Make>
  static Staging make(const Descriptor& parent, const std::string& prefix, Make make);
  bool isOurs() const;

  const Descriptor* m_parent;
  std::string m_name;  // empty: nothing to remove
  Descriptor m_lock;
};

}  // namespace filesnap

#endif
