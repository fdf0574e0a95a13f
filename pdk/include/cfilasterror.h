#ifndef ORCA_PDK_CFILASTERROR_H
#define ORCA_PDK_CFILASTERROR_H

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// What an object last failed with.
struct ORCA_PDK_API SFiLastError {
  int code = 0;   // the owner's own code; 0 while nothing failed
  tstr message;   // what failed
  tstr file;      // source file, without an ending
  int line = 0;   // source line
  tstr function;  // name of the operation that failed
};

// Mix-in of an object that keeps the record of its last failure. The record is never reset by a
// success.
class ORCA_PDK_API CFiLastError {
 public:
  CFiLastError();
  virtual ~CFiLastError();
  CFiLastError(const CFiLastError&) = default;
  CFiLastError& operator=(const CFiLastError&) = default;

  // The record; valid as long as the object.
  const SFiLastError& lastError() const;

 protected:
  // Replaces the record. The texts are copied; null counts as empty.
  void setLastError(int code, const char* message, const char* file, int line,
                    const char* function);

 private:
  SFiLastError m_lastError;
};

}  // namespace orca_pdk_4_4

#endif
