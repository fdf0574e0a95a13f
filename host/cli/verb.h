#ifndef FIHOST_CLI_VERB_H
#define FIHOST_CLI_VERB_H

#include <memory>
#include <string>
#include <vector>

#include "cli/report.h"
#include "cli/settings.h"
#include "cli/verboptions.h"

namespace fihost {

// What a verb works with.
struct Context {
  const Settings& settings;
  Report& report;
  // Who sees the calls of a provider, in this order.
  std::vector<CallObserver*> observers;
};

// A verb of the command line. An object serves one run: it holds what its options say.
class Verb {
 public:
  virtual ~Verb() = default;
  virtual const char* name() const = 0;
  virtual const char* help() const = 0;
  virtual void declare(VerbOptions& options) = 0;
  // Does the work and builds the report's answer as it goes. What keeps it from its work is thrown
  // as a Problem; failures of the provider stand in the report.
  virtual void run(Context& context) = 0;
  // The answer as text, also of a run that failed on its way.
  virtual std::string text(const Json& answer) const = 0;
  // Whether each operation gets a line; false where standard output is the answer alone.
  virtual bool showsOperations() const { return true; }
};

// All verbs, in the order in which the help names them.
std::vector<std::unique_ptr<Verb>> allVerbs();

}  // namespace fihost

#endif
