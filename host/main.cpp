#include <signal.h>

#include <iostream>

#include "cli/commandline.h"
#include "cli/emergency.h"
#include "cli/heldsignals.h"
#include "cli/progress.h"
#include "cli/standardoutput.h"
#include "cli/text.h"
#include "framework/currentoperation.h"
#include "framework/exceptions.h"
#include "framework/findings.h"
#include "framework/installroot.h"
#include "trace/printer.h"
#include "trace/recorder.h"
#include "verbs/taking.h"

namespace {

using namespace fihost;

// Runs the verb; what it has to say stands in the report then.
void runVerb(Verb& verb, const Settings& settings, Report& report) {
  OperationWatch watch;
  MemoryWatch memory;
  CatalogWatch catalogs;
  Progress progress;
  Printer printer;
  Context context{settings, report, {&watch, &memory, &catalogs, &report}};
  if (!settings.json && verb.showsOperations()) context.observers.push_back(&progress);
  report.answer()["findings"] = Json::array();
  if (settings.isTraced) context.observers.push_back(&printer);
  std::optional<Recorder> recorder;
  try {
    if (!settings.record.empty()) {
      context.observers.push_back(&recorder.emplace(settings.record, ownSessionId()));
    }
    verb.run(context);
    if (recorder && !recorder->trouble().empty()) throw Problem{kRefused, recorder->trouble()};
  } catch (const Problem& problem) {
    report.error(problem.exit, problem.text);
  }
  for (const std::string& text : catalogs.findings()) report.warning(text);
  for (const std::string& text : memory.findings()) report.finding(text);
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
  try {
    CommandLine commandLine;
    if (const auto ended = commandLine.read(argc, argv)) {
      return *ended == kDone && !std::cout.flush() ? kRefused : *ended;
    }
    Verb& verb = commandLine.verb();
    const Settings& settings = commandLine.settings();
    StandardOutput output(settings.json);
    Report report(verb.name(), settings.isLenient);
    const auto print = [&] {
      report.answer()["exit"] = report.exitStatus();
      output.print(settings.json ? toText(report.answer()) : verb.text(report.answer()));
    };
    const Emergency emergency(
        [&](const std::string& what) {
          report.lost(what);
          print();
        },
        [&](const char* text, std::size_t size) {
          if (settings.json) output.printAtOnce(text, size);
        },
        settings.timeout);
    runVerb(verb, settings, report);
    print();
    const bool isPrinted = output.trouble().empty();
    if (!isPrinted)
      std::cerr << "fihost: cannot print the answer: " << output.trouble() << std::endl;
    HeldSignals::letGo();
    return isPrinted || report.exitStatus() != kDone ? report.exitStatus() : kRefused;
  } catch (...) {
    std::cerr << "fihost: " << printable(currentException()) << std::endl;
    return kRefused;
  }
}
