#ifndef FIHOST_FRAMEWORK_OBJIDHOLDER_H
#define FIHOST_FRAMEWORK_OBJIDHOLDER_H

#include <fiutil.h>

#include <string>

namespace fihost {

// One object id that an operation hands out; given back at the end of the scope.
class ObjidHolder {
 public:
  ObjidHolder() = default;
  ~ObjidHolder() { orca_free_objid(m_id); }
  ObjidHolder(const ObjidHolder&) = delete;
  ObjidHolder& operator=(const ObjidHolder&) = delete;

  // Where the operation puts its answer.
  orca_objid** address() { return &m_id; }
  const orca_objid* get() const { return m_id; }
  std::string name() const { return m_id == nullptr || m_id->name == nullptr ? "" : m_id->name; }

 private:
  orca_objid* m_id = nullptr;
};

}  // namespace fihost

#endif
