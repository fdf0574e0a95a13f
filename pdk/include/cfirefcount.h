#ifndef ORCA_PDK_CFIREFCOUNT_H
#define ORCA_PDK_CFIREFCOUNT_H

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// The reference count of a shared object; held in the object itself and driven by CFiSmartPtr.
// A new object has count 0, the first smart pointer raises it to 1, and the smart pointer that
// brings it back to 0 deletes the object.
//
// A class that may be combined with other shared classes in one object derives from it virtually,
// so that one count serves the whole object.
//
// Threads: the count is a plain integer. Objects shared between threads are guarded by their users.
class ORCA_PDK_API CFiRefCount {
 public:
  CFiRefCount();
  virtual ~CFiRefCount();
  CFiRefCount(const CFiRefCount&) = delete;
  CFiRefCount& operator=(const CFiRefCount&) = delete;

  // Adds one holder; returns the new count.
  virtual int increment();
  // Takes one holder away; returns the new count and never deletes the object.
  virtual int decrement();
  // The number of holders.
  virtual int getCount() const;

 private:
  int m_count = 0;
};

}  // namespace orca_pdk_4_4

#endif
