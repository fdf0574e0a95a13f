#include "cli/text.h"
#include "trace/player.h"
#include "verbs/taking.h"
#include "verbs/withprovider.h"

namespace fihost {

namespace {

// The report without what operations fail with: here it is the file that says what must not happen.
class Answers : public CallObserver {
 public:
  explicit Answers(Report& report) : m_report(report) {}
  void ended(const Call& call) override { m_report.ended(call); }

 private:
  Report& m_report;
};

class Run : public Verb {
 public:
  const char* name() const override { return "run"; }
  const char* help() const override { return "Perform a session file and look at the answers"; }
  void declare(VerbOptions& options) override {
    options.pluginOfSession(m_plugin);
    options.names("FILE", "Session file; - for standard input", 1, 1, m_files);
  }

  void run(Context& context) override {
    const SessionFile file = readSessionFile(m_files.front(), ownSessionId());
    const std::string plugin = m_plugin.empty() ? file.plugin : m_plugin;
    if (plugin.empty()) {
      throw Problem{kWrongUse, file.name + " names no plug-in: name one with --plugin"};
    }
    NodePool nodes;
    Answers answers(context.report);
    Context own = context;
    for (CallObserver*& observer : own.observers) {
      if (observer == &context.report) observer = &answers;
    }
    const auto miss = [&](const std::string& place, const std::string& sentence) {
      context.report.missed(place, sentence);
    };
    withProvider(own, plugin, [&](ProviderRun& run) {
      Player player(run.caller, nodes, file, context.settings.timeout, miss);
      run.caller.observe(player);
      player.play();
      context.report.answer()["steps"] = file.steps.size();
      context.report.answer()["expectations"] = player.expectations();
    });
  }

  std::string text(const Json& answer) const override {
    if (!answer.contains("steps")) return "";
    const std::size_t missed = rowsOf(answer, "failures").size();
    return printable(m_files.front()) + "  " + answer["steps"].dump() + " operations, " +
           answer["expectations"].dump() + " expectations, " +
           (missed == 0 ? "all as expected" : std::to_string(missed) + " not as expected") + "\n";
  }

 private:
  std::string m_plugin;
  std::vector<std::string> m_files;
};

}  // namespace

std::unique_ptr<Verb> make_run() { return std::make_unique<Run>(); }

}  // namespace fihost
