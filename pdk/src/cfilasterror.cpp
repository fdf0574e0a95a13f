#include "cfilasterror.h"

namespace orca_pdk_4_4 {

CFiLastError::CFiLastError() = default;
CFiLastError::~CFiLastError() = default;

const SFiLastError& CFiLastError::lastError() const { return m_lastError; }

void CFiLastError::setLastError(int code, const char* message, const char* file, int line,
                                const char* function) {
  // A tstr made from null is empty; one that null is assigned to keeps its text.
  m_lastError = {code, tstr(message), tstr(file), line, tstr(function)};
}

}  // namespace orca_pdk_4_4
