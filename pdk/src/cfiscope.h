#ifndef ORCA_PDK_CFISCOPE_H
#define ORCA_PDK_CFISCOPE_H

#include "cfitraceable.h"
#include "cfitracelog.h"

namespace orca_pdk_4_4 {

// Trace scope of the operation that declares it: an entry line at once and an exit line at its end,
// under the operation's name without its class and the line of the declaration.
//
//   OperationScope scope(*this, kSource);
class OperationScope : public CFiTraceLogFunction {
 public:
  // source is the source file's name as it goes into traces, "../cfipluginbase"; not copied.
  OperationScope(const CFiTraceable& object, const char* source,
                 const char* operation = __builtin_FUNCTION(), int line = __builtin_LINE())
      : CFiTraceLogFunction(object.getTraceLog(), operation, line, source) {}
};

// Source names as they go into traces.
inline constexpr char kPluginBaseSource[] = "../cfipluginbase";
inline constexpr char kInterposerSource[] = "../cfiplugininterposer";
inline constexpr char kPrivateDataSource[] = "../cfiprivatedata";

// Body of a default that only answers: traces entry and exit of the operation that calls it.
inline int answer(const CFiTraceable& object, int result,
                  const char* operation = __builtin_FUNCTION(), int line = __builtin_LINE()) {
  const OperationScope scope(object, kPluginBaseSource, operation, line);
  return result;
}

}  // namespace orca_pdk_4_4

#endif
