#ifndef ORCA_PDK_CFIERRORMGR_H
#define ORCA_PDK_CFIERRORMGR_H

#include <cstdint>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfiicucatalog.h"
#include "cfirefcount.h"
#include "cfismartptr.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Receives every error that reaches an error manager. Implemented by providers.
class ORCA_PDK_API CFiErrorHandlerBase {
 public:
  virtual ~CFiErrorHandlerBase();
  // A message record was pushed; empty when the pusher had none.
  virtual void handleMessage(CFiMessagePtr message) = 0;
  // A text was pushed, as the trace log does with each line. The text is the caller's and valid
  // during the call only.
  virtual void handleText(char* text, pyx_eseverity severity) = 0;
};

// The process-wide collector of a provider's errors: keeps the last message record and hands
// everything to the registered handlers, in the order of their registration.
//
// Threads: the provider's calling thread only.
class ORCA_PDK_API CFiErrorManager : public virtual CFiRefCount {
 public:
  CFiErrorManager();
  ~CFiErrorManager() override;

  // Hands a text to all handlers. Nothing is stored: the last error stays as it is.
  void pushError(char* text, pyx_eseverity severity);
  // Makes a message the last error, in place of the one before, and hands it to all handlers.
  void pushError(CFiMessagePtr message);
  // The last error; empty when there is none.
  CFiMessagePtr getLastError();
  // Forgets the last error. The argument is accepted and not used.
  void deleteLastError(pyx_msg_info** info);
  // Adds a handler. Not owned: it must outlive the manager. Null is ignored; a handler registered
  // twice is called twice.
  void registerHandler(CFiErrorHandlerBase* handler);

 private:
  template <typename Call>
  void callHandlers(Call call);

  std::map<uint32_t, CFiMessagePtr> m_errors;
  std::vector<CFiErrorHandlerBase*> m_handlers;
};

using CFiErrorManagerPtr =
    CFiSmartPtr<CFiErrorManager, CFiContextSingletonAllocator<CFiErrorManager>>;

// An error that configuration and provider code keep and throw.
class ORCA_PDK_API CFiError : public std::exception {
 public:
  explicit CFiError(int number = 0, std::string message = std::string(),
                    std::string file = std::string(), int line = 0,
                    std::string function = std::string());
  CFiError(const CFiError&) = default;
  CFiError& operator=(const CFiError&) = default;
  ~CFiError() override;

  // The message text; valid as long as the error.
  const char* what() const noexcept override;
  int getNumber() const;
  // Where the error was raised: source file, line (0: not known) and function.
  const std::string& getFile() const;
  int getLine() const;
  const std::string& getFunction() const;

  // Id of the error's message: "MSG_ERROR_", the prefix in upper case with "_" behind it (nothing
  // for an empty prefix), and the number in four digits, less the offset where it is greater.
  std::string getMessageId(const std::string& prefix, int offset) const;

 private:
  int m_number;
  std::string m_message;
  std::string m_file;
  int m_line;
  std::string m_function;
};

extern template class CFiContextSingletonAllocator<CFiErrorManager>;

}  // namespace orca_pdk_4_4

#endif
