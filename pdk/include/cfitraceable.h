#ifndef ORCA_PDK_CFITRACEABLE_H
#define ORCA_PDK_CFITRACEABLE_H

#include "cfiexport.h"
#include "cfismartptr.h"

namespace orca_pdk_4_4 {

class CFiTraceLog;
using CFiTraceLogPtr = CFiSmartPtr<CFiTraceLog, CFiContextSingletonAllocator<CFiTraceLog>>;

// Mix-in of everything that writes to the trace log. Without a registered log nothing is written.
class ORCA_PDK_API CFiTraceable {
 public:
  CFiTraceable();
  // Lets the trace log go.
  virtual ~CFiTraceable();
  CFiTraceable(const CFiTraceable&) = delete;
  CFiTraceable& operator=(const CFiTraceable&) = delete;

  // Holds the given log from now on, in place of the one before. An empty pointer takes it away.
  virtual void registerTraceLog(const CFiTraceLogPtr& log);

  // The registered log; empty when there is none.
  const CFiTraceLogPtr& getTraceLog() const;

 protected:
  // Writes one line to the registered log, formatted with printf rules; nothing without a log.
  void traceLine(int level, const char* format, ...) const ORCA_PDK_PRINTF(3, 4);

 private:
  CFiTraceLogPtr m_traceLog;
};

}  // namespace orca_pdk_4_4

#endif
