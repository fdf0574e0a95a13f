#include <signal.h>

#include <iostream>
#include <string_view>

#include "framework/exceptions.h"
#include "framework/findings.h"
#include "verbs/verbs.h"

namespace {

using fihost::Exit;
using fihost::Options;
using fihost::Report;

struct Verb {
  std::string_view name;
  Exit (*run)(const Options&, Report&);
};

constexpr Verb kVerbs[] = {
    {"probe", fihost::runProbe},       {"params", fihost::runParams},
    {"snapshot", fihost::runSnapshot}, {"list", fihost::runList},
    {"status", fihost::runStatus},     {"restore", fihost::runRestore},
    {"dispose", fihost::runDispose},   {"interpose", fihost::runInterpose},
    {"import", fihost::runImport},     {"deport", fihost::runDeport},
    {"access", fihost::runAccess},
};

Exit runVerb(const Options& options, Report& report) {
  try {
    for (const Verb& verb : kVerbs) {
      if (verb.name == options.verb) return verb.run(options, report);
    }
    throw fihost::Problem{fihost::kWrongUse, "no verb " + options.verb};
  } catch (const fihost::Problem& problem) {
    report.error(problem.text);
    return problem.exit;
  }
}

// A reader of the output that goes away must not end the host between quiesce and unquiesce. A
// handler, since children would inherit an ignored signal.
void surviveClosedPipes() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  action.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  surviveClosedPipes();
  fihost::nameOperationOnTermination();
  try {
    const fihost::Parsed parsed = fihost::parseCommandLine(argc, argv);
    if (!parsed.goOn) return parsed.exit;
    Report report(parsed.options.verb, parsed.options.json);
    const Exit exit = runVerb(parsed.options, report);
    fihost::reportFindings(report);
    report.finish(exit);
    return exit;
  } catch (...) {
    std::cerr << "fihost: " << fihost::currentException() << std::endl;
    return fihost::kRefused;
  }
}
