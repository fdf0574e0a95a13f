#ifndef ORCA_PDK_CFIPROVIDERSETUP_H
#define ORCA_PDK_CFIPROVIDERSETUP_H

#include <memory>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfimsgcatalogmgr.h"
#include "cfipluginbase.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// What a provider is called and where its texts are.
struct ORCA_PDK_API SFiProviderIdentity {
  SFiProviderIdentity();
  SFiProviderIdentity(const SFiProviderIdentity&);
  SFiProviderIdentity& operator=(const SFiProviderIdentity&);
  ~SFiProviderIdentity();

  std::string providerName;            // also the component of the trace log
  std::string fimName;                 // the FI type that the provider serves
  std::string catalogName;             // message catalog; empty: the provider's name
  std::string defaultLanguage = "en";  // language that stands in where another has no text
  std::string nativeLanguage;          // empty: taken from LC_ALL, LC_MESSAGES, LANG
  long messageIndexOffset = 0;         // see CFiPluginBase::setMessageIndexOffset
  int traceLevel = FI_TRACE_INFO;      // stored where no level is stored yet; 0: no tracing
};

// A provider's managers, set up in one place. Held as a member of the provider:
//
//   class MyProvider : public CFiPluginBase {
//    public:
//     MyProvider() : m_setup(*this, identity()) {}
//    private:
//     CFiProviderSetup m_setup;
//   };
//
// The constructor names the provider and registers on it the trace log, the error manager, the
// message catalogs, the private data map and the session manager. Trace log, error manager and
// session manager are those of the process, made by the first provider; a trace log that writes
// already stays as it is. Catalogs and private data are the provider's own, so that two providers
// in one process do not mix their texts or nodes; the process's slots hold those of the first one.
// Every traced line reaches the error manager until the last set-up of the process ends.
//
// Threads: providers are set up one after the other.
class ORCA_PDK_API CFiProviderSetup {
 public:
  CFiProviderSetup(CFiPluginBase& provider, const SFiProviderIdentity& identity);
  ~CFiProviderSetup();
  CFiProviderSetup(const CFiProviderSetup&) = delete;
  CFiProviderSetup& operator=(const CFiProviderSetup&) = delete;

  // Makes a message the provider's last error and writes its id and its sentence in the native
  // language to the trace log at the level of its severity. Each argument appears in the sentence
  // as {0}, {1} and so on; without any the id itself is sent along, since only messages with
  // arguments reach the framework.
  void pushMessage(const std::string& id, pyx_eseverity severity,
                   const std::vector<icu::Formattable>& arguments);

 private:
  class ErrorFeed;
  class Catalogs;

  CFiPluginBase& m_provider;
  std::shared_ptr<ErrorFeed> m_feed;
  std::unique_ptr<Catalogs> m_catalogs;
};

}  // namespace orca_pdk_4_4

#endif
