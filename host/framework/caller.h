#ifndef FIHOST_FRAMEWORK_CALLER_H
#define FIHOST_FRAMEWORK_CALLER_H

#include <functional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/plugin.h"
#include "trace/event.h"

namespace fihost {

// The one place where operations of a provider are called: takes the time, catches everything and
// tells the observers; for a failure also the provider's last error and what has changed.
class Caller {
 public:
  explicit Caller(Plugin& plugin);

  // Adds an observer, which must live as long as this object.
  void observe(CallObserver& observer) { m_observers.push_back(&observer); }

  // Says what is known to have been done so far, as a sentence without a point.
  void setDone(const std::string& text) { m_done = text; }

  // Calls an operation with `function(provider)`; `outputs`, when given, is called after that,
  // whatever came of it, fills in what was handed out and may refuse the answer. True when the
  // operation did what it was called for. A last error that stood there before is taken away first.
  using Outputs = std::function<void(Call&)>;
  template <typename Function>
  bool call(Op op, const std::string& node, Values arguments, Function function,
            const Outputs& outputs = {}) {
    const auto withCode = [&]() -> std::optional<int> {
      if constexpr (std::is_void_v<decltype(function(m_plugin.provider()))>) {
        function(m_plugin.provider());
        return std::nullopt;
      } else {
        return function(m_plugin.provider());
      }
    };
    return run(op, node, std::move(arguments), withCode, outputs);
  }

  // Reports the last step as failed for a reason that its code does not say. Returns false.
  bool refuse(const std::string& reason);

  // The last step that was called.
  const Call& last() const { return m_last; }
  // What the last call raised, a step or not; empty when nothing was.
  const std::string& raised() const { return m_raised; }
  Plugin& plugin() { return m_plugin; }

 private:
  bool run(Op op, const std::string& node, Values arguments,
           const std::function<std::optional<int>()>& function, const Outputs& outputs);
  void perform(Call& call, const std::function<std::optional<int>()>& function,
               const Outputs& outputs);
  void reportFailure(const std::string& reason);

  Plugin& m_plugin;
  std::vector<CallObserver*> m_observers;
  std::set<std::string> m_overridden;  // operations that are not the defaults
  std::string m_done;
  Call m_last;
  std::string m_raised;
};

}  // namespace fihost

#endif
