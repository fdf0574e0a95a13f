#ifndef FIARRAY_ARRAY_H
#define FIARRAY_ARRAY_H

#include <string>
#include <utility>
#include <vector>

#include "state.h"

namespace fiarray {

// What a command answers: key=value lines.
using Answer = std::vector<std::pair<std::string, std::string>>;

// The commands of the array on an open store. Names may come in any letter case and are kept in
// upper case, except those of hosts. All throw Fault.
//
// The order of steps is such that a kill leaves a state that tells the truth: data is durable
// before the state names it, and a device that is being overwritten is marked before the first
// byte.
class Array {
 public:
  explicit Array(Store& store) : m_store(store) {}

  Answer addEnclosure(const std::string& enclosure);
  Answer addDevice(const std::string& enclosure, const std::string& device, uint64_t size);
  // All devices, those of an enclosure, or one.
  Answer list(const std::string& enclosure, const std::string& device) const;
  // Shows a device to a host. The same mapping again succeeds and answers changed=0.
  Answer map(const std::string& enclosure, const std::string& device, const std::string& host,
             int lun);
  // A device that the host does not see counts as unmapped: changed=0.
  Answer unmap(const std::string& enclosure, const std::string& device, const std::string& host);
  // Gives target the content of source and keeps the relation until it is forgotten.
  Answer clone(const std::string& enclosure, const std::string& source, const std::string& target,
               bool isShared, bool isBackground);
  // Carries a copy in progress one piece on, and says how far it is.
  Answer copyStatus(const std::string& enclosure, const std::string& device);
  // Ends the relation of a clone to its source; the data stays.
  Answer forget(const std::string& enclosure, const std::string& device);

 private:
  Enclosure& enclosureOf(const std::string& name) const;
  Device& deviceOf(const std::string& enclosure, const std::string& name) const;
  fs::path imageOf(const std::string& enclosure, const std::string& device) const;
  fs::path copyOf(const std::string& enclosure, const std::string& device) const;
  fs::path pathOf(const std::string& enclosure, const std::string& device) const;
  void checkClone(const std::string& enclosure, const std::string& source,
                  const std::string& target) const;
  void begin(const std::string& enclosure, const std::string& source, const std::string& target,
             bool isShared);
  void advance(const std::string& enclosure, const std::string& name);
  void copyOn(const std::string& enclosure, const std::string& name, Device& device);
  void describe(Answer& answer, const std::string& enclosure, const std::string& device) const;

  Store& m_store;
};

}  // namespace fiarray

#endif
