#ifndef FIHOST_TRACE_EVENT_H
#define FIHOST_TRACE_EVENT_H

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "framework/operationtable.h"

namespace fihost {

// An argument or an output of an operation: nothing (a null pointer), a text, a number, or several
// of a kind. Texts may hold any bytes.
using Value =
    std::variant<std::monostate, std::string, long, std::vector<std::string>, std::vector<long>>;

struct NamedValue {
  std::string name;
  Value value;
};
using Values = std::vector<NamedValue>;

// One call of an operation. What it gave back is filled in when it has ended.
struct Call {
  const Operation* operation = nullptr;
  std::string provider;  // the provider's name
  std::string node;      // the node, or several with ", " between them; may be empty
  Values arguments;
  bool isDefault = false;   // whether the answer is that of the default, not of the provider
  std::string done;         // what is known to have been done before, as a sentence; may be empty
  Values outputs;           // what was handed out, also by an operation that failed
  std::string known;        // what the outputs show to have changed; may be empty
  std::optional<int> code;  // none for operations without a result and after an exception
  std::string exception;    // what was raised; empty when nothing was
  std::string refused;      // why its good answer is not believed; empty when it is
  double milliseconds = 0;

  // True when the operation did what it was called for.
  bool isGood() const {
    return exception.empty() && refused.empty() && (!code || operation->isGood(*code));
  }
  // Does not believe a good answer for a reason; an empty one is none.
  void refuse(const std::string& reason) {
    if (isGood()) refused = reason;
  }
};

// What has changed, as a sentence without a point: what was done before a call that failed or never
// ended, what it handed out, and what such a failure may leave behind.
std::string changedBy(const Call& call);

// The same of a call that does not come back: what it did until then nobody can tell.
std::string changedIfLost(const Call& call);

// Why a verb does not do all that it was asked for.
struct Failure {
  Call call;
  std::string reason;     // what is wrong where the code does not say it; may be empty
  std::string lastError;  // the provider's own words; may be empty
  std::string changed;    // what has changed, as a sentence without a point
};

// Sees every call of a provider. Observers are told in the order in which they were added; what
// they are given is valid during the call.
class CallObserver {
 public:
  virtual ~CallObserver() = default;
  // After a plug-in was loaded whose provider is called from then on.
  virtual void loaded(const std::string& /*plugin*/) {}
  // Before the operation is entered: name and arguments are known.
  virtual void begins(const Call&) {}
  // After it came back or raised: everything is known.
  virtual void ended(const Call&) {}
  // After the call that failed, or that is refused for what it answered, has ended.
  virtual void failed(const Failure&) {}
};

}  // namespace fihost

#endif
