#ifndef FIHOST_VERBS_WITHPROVIDER_H
#define FIHOST_VERBS_WITHPROVIDER_H

#include <functional>
#include <string>

#include "cli/verb.h"
#include "framework/lifecycle.h"

namespace fihost {

// A provider at work: its plug-in, the caller of its operations, and what of it was begun.
struct ProviderRun {
  Plugin& plugin;
  Caller& caller;
  Lifecycle& lifecycle;
};

// Loads a plug-in, lets `work` drive its provider before the observers of the context, ends all
// that was begun, whatever happened, and unloads the plug-in. Throws a Problem for a plug-in that
// cannot be loaded.
void withProvider(Context& context, const std::string& plugin,
                  const std::function<void(ProviderRun&)>& work);

}  // namespace fihost

#endif
