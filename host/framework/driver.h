#ifndef FIHOST_FRAMEWORK_DRIVER_H
#define FIHOST_FRAMEWORK_DRIVER_H

#include <functional>
#include <string>
#include <type_traits>

#include "cli/report.h"
#include "framework/plugin.h"

namespace fihost {

// Calls operations of a provider: takes the time, catches everything, reports the answer, and for a
// failure the provider's last error and what has changed.
class Driver {
 public:
  Driver(Plugin& plugin, Report& report) : m_plugin(plugin), m_report(report) {}

  // What a failure means for the user's data, as a sentence without a point; it holds for the calls
  // that follow.
  void setChanged(const std::string& text) { m_changed = text; }

  // Calls an operation with `function(provider)`. True when it did what it was called for.
  template <typename Function>
  bool call(const std::string& operation, const std::string& node, Function function) {
    return run(operation, node, [&]() -> std::optional<int> {
      if constexpr (std::is_void_v<decltype(function(m_plugin.provider()))>) {
        function(m_plugin.provider());
        return std::nullopt;
      } else {
        return function(m_plugin.provider());
      }
    });
  }

  // Reports the last call as a failure for a reason that its code does not say. Returns false.
  bool refuse(const std::string& reason);

  // The last call, and whether any failed.
  const Call& last() const { return m_last; }
  bool isFailed() const { return m_failed; }
  Plugin& plugin() { return m_plugin; }
  Report& report() { return m_report; }

 private:
  bool run(const std::string& operation, const std::string& node,
           const std::function<std::optional<int>()>& function);
  void reportFailure(const std::string& reason);
  std::string takeLastError();

  Plugin& m_plugin;
  Report& m_report;
  std::string m_changed = "nothing was changed";
  Call m_last;
  bool m_failed = false;
};

}  // namespace fihost

#endif
