#include "verbs/resources.h"

#include "cli/text.h"

namespace fihost {

void ResourceVerb::declare(VerbOptions& options) {
  options.plugin(m_plugin);
  options.names("RESOURCE", "Device identifiers", 1, -1, m_resources);
  options.text("--host", "Name of the host", m_host);
  options.number("--flags", m_flagsHelp, m_flags);
}

void ResourceVerb::run(Context& context) {
  const std::string done = m_done;
  withProvider(context, m_plugin, [&](ProviderRun& run) {
    if (!run.lifecycle.init()) return;
    for (const std::string& resource : m_resources) {
      if (!work(run.caller, resource, m_host, m_flags)) return;
      context.report.answer()[done].push_back(resource);
      run.caller.setDone("the resources before it were " + done);
    }
  });
}

std::string ResourceVerb::text(const Json& answer) const {
  std::string text;
  for (const std::string resource : rowsOf(answer, m_done)) {
    text += std::string(m_done) + " " + printable(resource) + "\n";
  }
  return text;
}

}  // namespace fihost
