#include "framework/caller.h"

#include <chrono>

#include "framework/exceptions.h"
#include "framework/lasterror.h"
#include "framework/overrides.h"

namespace fihost {

namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

Caller::Caller(Plugin& plugin) : m_plugin(plugin) {
  Overrides overrides = overriddenOperations(plugin.provider());
  for (std::vector<std::string>* names : {&overrides.own, &overrides.inherited}) {
    m_overridden.insert(names->begin(), names->end());
  }
}

bool Caller::run(Op op, const std::string& node, Values arguments,
                 const std::function<std::optional<int>()>& function, const Outputs& outputs) {
  Call call;
  call.operation = &describe(op);
  call.provider = m_plugin.name();
  call.node = node;
  call.done = m_done;
  const std::string name = call.operation->name;
  call.isDefault = m_overridden.count(name.substr(0, name.find(' '))) == 0;
  call.arguments = std::move(arguments);
  if (call.operation->isStep) takeLastError(*this);
  perform(call, function, outputs);
  m_raised = call.exception;
  const bool good = call.isGood();
  if (!call.operation->isStep) return good;
  m_last = std::move(call);
  if (!good) reportFailure(m_last.refused);
  return good;
}

void Caller::perform(Call& call, const std::function<std::optional<int>()>& function,
                     const Outputs& outputs) {
  for (CallObserver* observer : m_observers) observer->begins(call);
  const auto start = Clock::now();
  try {
    call.code = function();
  } catch (...) {
    call.exception = currentException();
  }
  call.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  if (outputs) outputs(call);
  for (CallObserver* observer : m_observers) observer->ended(call);
}

bool Caller::refuse(const std::string& reason) {
  reportFailure(reason);
  return false;
}

void Caller::reportFailure(const std::string& reason) {
  const Failure failure{m_last, reason, takeLastError(*this), changedBy(m_last)};
  for (CallObserver* observer : m_observers) observer->failed(failure);
}

}  // namespace fihost
