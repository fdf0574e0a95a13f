#ifndef FIHOST_FRAMEWORK_EXCEPTIONS_H
#define FIHOST_FRAMEWORK_EXCEPTIONS_H

#include <optional>
#include <string>

#include "trace/event.h"

namespace fihost {

// Type and text of the exception that is being handled.
std::string currentException();

// From now on, an exception that nobody can catch (one that leaves a noexcept function, a
// destructor, or a thread of the provider) ends the program with status 1 and with a line that
// names provider and operation.
void nameOperationOnTermination();

// Says for its scope which operation of which provider is being called.
class CurrentOperation {
 public:
  CurrentOperation(const std::string& provider, const std::string& operation);
  ~CurrentOperation();
  CurrentOperation(const CurrentOperation&) = delete;
  CurrentOperation& operator=(const CurrentOperation&) = delete;

 private:
  std::string m_before;
};

// Says it for every call of a provider.
class OperationWatch : public CallObserver {
 public:
  void begins(const Call& call) override { m_current.emplace(call.provider, call.operation->name); }
  void ended(const Call&) override { m_current.reset(); }

 private:
  std::optional<CurrentOperation> m_current;
};

}  // namespace fihost

#endif
