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
    std::string all;
    for (const std::string& resource : m_resources) {
      Json& answer = context.report.answer();
      if (!work(run.caller, answer, resource, m_host, m_flags)) return;
      answer[done].push_back(resource);
      all += (all.empty() ? "" : ", ") + resource;
      run.caller.setDone(std::string(done).append(": ").append(all));
    }
  });
}

std::string ResourceVerb::text(const Json& answer) const {
  std::string text;
  const Json paths = answer.value("paths", Json::object());
  for (const std::string resource : rowsOf(answer, m_done)) {
    text += std::string(m_done) + " " + printable(resource);
    if (paths.contains(resource)) text += "  as " + printable(paths[resource]);
    text += "\n";
  }
  return text;
}

}  // namespace fihost
