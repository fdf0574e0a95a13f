#include "verbs/withprovider.h"

#include "framework/installroot.h"

namespace fihost {

void withProvider(Context& context, const std::string& plugin,
                  const std::function<void(ProviderRun&)>& work) {
  prepareInstallRoot();
  Plugin loaded(plugin);
  Caller caller(loaded);
  for (CallObserver* observer : context.observers) {
    observer->loaded(loaded.path());
    caller.observe(*observer);
  }
  Lifecycle lifecycle(caller);
  ProviderRun run{loaded, caller, lifecycle};
  work(run);
}

}  // namespace fihost
