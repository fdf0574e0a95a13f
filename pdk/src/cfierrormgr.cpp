#include "cfierrormgr.h"

#include <utility>

#include "V_strings.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

template class CFiContextSingletonAllocator<CFiErrorManager>;

namespace {

constexpr uint32_t kLastError = 1;  // the only slot that is ever used

// Wraps around instead of overflowing: offsets come from providers.
int difference(int a, int b) {
  return static_cast<int>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

}  // namespace

CFiErrorHandlerBase::~CFiErrorHandlerBase() = default;

CFiErrorManager::CFiErrorManager() = default;
CFiErrorManager::~CFiErrorManager() = default;

// Handlers are called by index: one of them may register another one meanwhile.
template <typename Call>
void CFiErrorManager::callHandlers(Call call) {
  const std::size_t count = m_handlers.size();
  for (std::size_t index = 0; index < count; ++index) call(*m_handlers[index]);
}

void CFiErrorManager::pushError(char* text, pyx_eseverity severity) {
  callHandlers([&](CFiErrorHandlerBase& handler) { handler.handleText(text, severity); });
}

void CFiErrorManager::pushError(CFiMessagePtr message) {
  m_errors[kLastError] = message;
  callHandlers([&](CFiErrorHandlerBase& handler) { handler.handleMessage(message); });
}

CFiMessagePtr CFiErrorManager::getLastError() {
  const auto found = m_errors.find(kLastError);
  return found != m_errors.end() ? found->second : CFiMessagePtr();
}

void CFiErrorManager::deleteLastError(pyx_msg_info**) {
  const auto found = m_errors.find(kLastError);
  if (found != m_errors.end()) found->second.release();
}

void CFiErrorManager::registerHandler(CFiErrorHandlerBase* handler) {
  if (handler != nullptr) m_handlers.push_back(handler);
}

CFiError::CFiError(int number, std::string message, std::string file, int line,
                   std::string function)
    : m_number(number),
      m_message(std::move(message)),
      m_file(std::move(file)),
      m_line(line),
      m_function(std::move(function)) {}
CFiError::~CFiError() = default;

const char* CFiError::what() const noexcept { return m_message.c_str(); }

int CFiError::getNumber() const { return m_number; }

const std::string& CFiError::getFile() const { return m_file; }

int CFiError::getLine() const { return m_line; }

const std::string& CFiError::getFunction() const { return m_function; }

std::string CFiError::getMessageId(const std::string& prefix, int offset) const {
  char number[64];
  V_snprintf(number, sizeof number, "%04d",
             m_number > offset ? difference(m_number, offset) : m_number);
  const std::string upper = CFiStringTool::tostrupper(prefix);
  return "MSG_ERROR_" + upper + (upper.empty() ? "" : "_") + number;
}

}  // namespace orca_pdk_4_4
