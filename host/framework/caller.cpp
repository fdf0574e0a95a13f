#include "framework/caller.h"

#include <chrono>

#include "framework/exceptions.h"
#include "framework/lasterror.h"

namespace fihost {

namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

bool Caller::run(Op op, const std::string& node, Values arguments,
                 const std::function<std::optional<int>()>& function, const Outputs& outputs) {
  Call call;
  call.operation = &describe(op);
  call.provider = m_plugin.name();
  call.node = node;
  call.arguments = std::move(arguments);
  perform(call, function, outputs);
  m_raised = call.exception;
  const bool good = call.isGood();
  if (!call.operation->isStep) return good;
  m_last = std::move(call);
  const std::string leaves = m_last.operation->leaves;
  if (!good) reportFailure("", leaves.empty() ? m_done : leaves);
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
  if (outputs) call.outputs = outputs();
  for (CallObserver* observer : m_observers) observer->ended(call);
}

bool Caller::refuse(const std::string& reason) {
  reportFailure(reason, m_done);
  return false;
}

void Caller::reportFailure(const std::string& reason, const std::string& changed) {
  const Failure failure{m_last, reason, takeLastError(*this), changed};
  for (CallObserver* observer : m_observers) observer->failed(failure);
}

}  // namespace fihost
