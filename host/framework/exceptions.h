#ifndef FIHOST_FRAMEWORK_EXCEPTIONS_H
#define FIHOST_FRAMEWORK_EXCEPTIONS_H

#include <string>

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

}  // namespace fihost

#endif
