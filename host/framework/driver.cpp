#include "framework/driver.h"

#include <chrono>

#include "cli/names.h"
#include "framework/exceptions.h"

namespace fihost {

namespace {

using Clock = std::chrono::steady_clock;

// The sentence of a record in the native language.
std::string localised(orca_pdk::CFiPluginBase& provider, pyx_msg_info* info) {
  if (info->text == nullptr || *info->text == '\0') return "(a message whose text does not travel)";
  int unused = 0;
  char* sentence = nullptr;
  provider.getLocaleMessage(&unused, info, "native", &sentence);
  if (sentence == nullptr) return std::string(info->text);
  std::string text(sentence);
  provider.delLocaleMessage(&sentence);
  return text;
}

std::string lastErrorOf(orca_pdk::CFiPluginBase& provider) {
  pyx_msg_info* info = nullptr;
  provider.getLastError(&info);
  if (info == nullptr) return "";
  std::string text = localised(provider, info);
  provider.delLastError(&info);
  return text;
}

}  // namespace

bool Driver::run(const std::string& operation, const std::string& node,
                 const std::function<std::optional<int>()>& function) {
  const CurrentOperation current(m_plugin.name(), operation);
  m_last = Call{operation, node, std::nullopt, "", 0};
  const auto start = Clock::now();
  try {
    m_last.code = function();
  } catch (...) {
    m_last.exception = currentException();
  }
  m_last.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  m_report.operation(m_last);
  const bool good = m_last.exception.empty() && (!m_last.code || isGood(operation, *m_last.code));
  if (!good) reportFailure("");
  return good;
}

bool Driver::refuse(const std::string& reason) {
  reportFailure(reason);
  return false;
}

void Driver::reportFailure(const std::string& reason) {
  m_failed = true;
  m_report.failure(Failure{m_plugin.name(), m_last, reason, takeLastError(), m_changed});
}

std::string Driver::takeLastError() {
  const CurrentOperation current(m_plugin.name(), "getLastError");
  try {
    return lastErrorOf(m_plugin.provider());
  } catch (...) {
    return "(not known: getLastError raised " + currentException() + ")";
  }
}

}  // namespace fihost
