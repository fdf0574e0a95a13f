#include <cstring>

#include "cfitracelog.h"

namespace orca_pdk_4_4 {

CFiTraceLogFunction::CFiTraceLogFunction(const CFiTraceLogPtr& log, const char* function, int line,
                                         const char* file)
    : m_log(log), m_function(function), m_line(line), m_file(file) {
  if (m_file != nullptr) {
    const char* const slash = std::strrchr(m_file, '/');
    m_file = slash != nullptr ? slash + 1 : kHeaderFile;
  }
  if (m_log && m_function != nullptr && m_file != nullptr) {
    m_log->trace(FI_TRACE_DETAIL, "Entering Function %s [%d, %s]", m_function, m_line, m_file);
  }
}

CFiTraceLogFunction::~CFiTraceLogFunction() {
  if (!m_log || m_function == nullptr || m_file == nullptr) return;
  if (m_line != 0) {
    m_log->trace(FI_TRACE_DETAIL, "Exiting Function %s [%d, %s]", m_function, m_line, m_file);
  } else {
    m_log->trace(FI_TRACE_DETAIL, "Exiting Function %s", m_function);
  }
}

}  // namespace orca_pdk_4_4
