#ifndef FIHOST_FRAMEWORK_CURRENTOPERATION_H
#define FIHOST_FRAMEWORK_CURRENTOPERATION_H

#include <optional>
#include <string>

#include "trace/event.h"

namespace fihost {

// Says for its scope what of a provider is being called; scopes nest. One thread.
class CurrentOperation {
 public:
  CurrentOperation(const std::string& provider, const std::string& operation,
                   const std::string& node = std::string(),
                   const std::string& changed = std::string());
  ~CurrentOperation();
  CurrentOperation(const CurrentOperation&) = delete;
  CurrentOperation& operator=(const CurrentOperation&) = delete;

  const std::string& provider() const { return m_provider; }
  const std::string& operation() const { return m_operation; }
  const std::string& node() const { return m_node; }
  // What is to be said of changes when it does not come back; fit to be printed, as the sentence.
  const std::string& changed() const { return m_changed; }
  // "provider P, operation O, node N", made beforehand.
  const std::string& sentence() const { return m_sentence; }

  // The innermost one, or null when nothing is being called.
  static const CurrentOperation* get();
  // From now on, the signal is sent to the process when something that is called does not come back
  // within that time. 0 seconds: no limit.
  static void setTimeLimit(int seconds, int signal);
  // From now on, the sentence of the innermost one stands in that place as well, cut to its size
  // with the NUL; empty when nothing is being called. Another process may look at it.
  static void showIn(char* place, std::size_t size);

 private:
  static void show();

  std::string m_provider;
  std::string m_operation;
  std::string m_node;
  std::string m_changed;
  std::string m_sentence;
  const CurrentOperation* m_before;
};

// Says it for every call of a provider.
class OperationWatch : public CallObserver {
 public:
  void begins(const Call& call) override {
    m_current.emplace(call.provider, call.operation->name, call.node, changedIfLost(call));
  }
  void ended(const Call&) override { m_current.reset(); }

 private:
  std::optional<CurrentOperation> m_current;
};

}  // namespace fihost

#endif
