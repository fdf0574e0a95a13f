#ifndef FIHOST_VERBS_RESOURCES_H
#define FIHOST_VERBS_RESOURCES_H

#include <string>
#include <vector>

#include "verbs/withprovider.h"

namespace fihost {

// A verb that does one operation for each resource.
class ResourceVerb : public Verb {
 public:
  // `done` is the word for a resource that it went well for; `flags` is the default of --flags, and
  // `flagsHelp` tells what there is to choose from.
  ResourceVerb(const char* done, int flags, const char* flagsHelp)
      : m_done(done), m_flags(flags), m_flagsHelp(flagsHelp) {}

  void declare(VerbOptions& options) override;
  void run(Context& context) override;
  std::string text(const Json& answer) const override;

 private:
  // Does it for one resource on a host (empty: none). True when it went well. "paths" of the answer
  // may receive where the resource is.
  virtual bool work(Caller& caller, Json& answer, const std::string& resource,
                    const std::string& host, int flags) = 0;

  const char* m_done;
  int m_flags;
  const char* m_flagsHelp;
  std::string m_plugin;
  std::string m_host;
  std::vector<std::string> m_resources;
};

}  // namespace fihost

#endif
