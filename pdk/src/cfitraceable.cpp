#include "cfitraceable.h"

#include <cstdarg>

#include "cfitracelog.h"

namespace orca_pdk_4_4 {

CFiTraceable::CFiTraceable() = default;
CFiTraceable::~CFiTraceable() = default;

void CFiTraceable::registerTraceLog(const CFiTraceLogPtr& log) { m_traceLog = log; }

const CFiTraceLogPtr& CFiTraceable::getTraceLog() const { return m_traceLog; }

void CFiTraceable::traceLine(int level, const char* format, ...) const {
  if (!m_traceLog) return;
  va_list args;
  va_start(args, format);
  m_traceLog->vtrace(level, format, args);
  va_end(args);
}

}  // namespace orca_pdk_4_4
