#ifndef FIARRAY_STATE_H
#define FIARRAY_STATE_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "file.h"

namespace fiarray {

// A device that was made from another one.
struct Clone {
  std::string source;      // device of the same enclosure
  std::string state;       // "copying", "done" or "failed"
  std::string cause;       // of a failure
  uint64_t copied = 0;     // the place up to which data is there
  int64_t sourceTime = 0;  // when the source was last written before the copy began
};

struct Device {
  uint64_t size = 0;
  std::map<std::string, int> hosts;  // LUN number by host
  std::optional<Clone> clone;
};

using Enclosure = std::map<std::string, Device>;

// Trouble that the next commands meet.
struct Trouble {
  std::string kind;  // empty: none
  int argument = 0;
  int left = 0;  // for how many commands
};

// Who may use the array.
struct Login {
  std::string user;
  std::string password;
};

// All that the array knows.
struct State {
  Login login;
  bool filesOnly = false;  // mapped devices are never attached as block devices
  Trouble trouble;
  std::map<std::string, Enclosure> enclosures;
};

// The state in its folder, locked against other commands while the object lives. Throws Fault.
class Store {
 public:
  // Makes a new array in a folder, which is made too.
  static void create(const fs::path& folder, const State& state);

  // Opens an array for somebody who knows its login.
  Store(const fs::path& folder, const Login& login);

  // Makes the state durable as it stands. beforeSave is called half-way.
  void save();
  const fs::path& folder() const { return m_folder; }

  State state;
  std::function<void()> beforeSave = [] {};

 private:
  fs::path m_folder;
  File m_lock;
};

}  // namespace fiarray

#endif
