#ifndef ORCA_PDK_CFIPROVIDERSETUP_H
#define ORCA_PDK_CFIPROVIDERSETUP_H

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "cfiexport.h"
#include "cfifailure.h"
#include "cfimsgcatalogmgr.h"
#include "cfipluginbase.h"
#include "cfitracelog.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// What a provider is called and where its texts are.
struct ORCA_PDK_API SFiProviderIdentity {
  SFiProviderIdentity();
  SFiProviderIdentity(const SFiProviderIdentity&);
  SFiProviderIdentity& operator=(const SFiProviderIdentity&);
  ~SFiProviderIdentity();

  std::string providerName;                 // also the component of the trace log
  std::string fimName;                      // the FI type that the provider serves
  std::string catalogName;                  // message catalog; empty: the provider's name
  std::string defaultLanguage = "en";       // language that stands in where another has no text
  std::string nativeLanguage;               // empty: taken from LC_ALL, LC_MESSAGES, LANG
  std::string unexpectedId = "UNEXPECTED";  // message of what nobody expected: {0} is the
                                            // operation, {1} the cause
  long messageIndexOffset = 0;              // see CFiPluginBase::setMessageIndexOffset
  int traceLevel = FI_TRACE_INFO;           // stored where no level is stored yet; 0: no tracing
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

  // The same with the failure's message and arguments. Nothing in an argument is taken for
  // formatting or cuts the message: "<", which delimits messages on their way, becomes "\u2039", a
  // zero "\u2400", and what is no UTF-8 "\uFFFD".
  void push(const SFiFailure& failure, pyx_eseverity severity = PYX_SEV_ERROR);

  // Runs the body of an operation in its trace scope and returns the body's result, FI_OK where it
  // has none. Nothing is thrown past it, also not when memory is short: an SFiFailure becomes the
  // last error and its result; any other exception is told by the message `unexpectedId`, and
  // returns FI_NO_MEMORY for std::bad_alloc, else FI_FAILED. Where there is no memory for the
  // message the result alone tells what happened. The last two are the place of the call.
  //
  //   int make(...) override {
  //     return m_setup.guarded("make", [&] { ... });
  //   }
  template <typename Body>
  int guarded(const char* operation, Body body, pyx_eseverity severity = PYX_SEV_ERROR,
              const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept {
    try {
      const CFiTraceLogFunction scope(m_provider.getTraceLog(), operation, line, file);
      if constexpr (std::is_void_v<decltype(body())>) {
        body();
        return FI_OK;
      } else {
        return body();
      }
    } catch (...) {
      return pushCurrent(operation, severity);
    }
  }

  // Keeps private data of the provider's own class for each node: Data derives from CFiPrivateData
  // and has a constructor that takes an object id. To be called before the first node is set up.
  template <typename Data>
  void keepPrivateData() {
    keepPrivateDataIn(new MapOf<Data>);
  }

 private:
  template <typename Data>
  class MapOf : public CFiPrivateDataMap {
   protected:
    CFiPrivateData* create(pyx_domain* domain) override { return new Data(domain->objid); }
  };

  // Makes the current exception the last error; returns the result that it stands for.
  int pushCurrent(const char* operation, pyx_eseverity severity) noexcept;
  SFiFailure currentFailure(const char* operation, int& result) const;
  void keepPrivateDataIn(CFiPrivateDataMap* map);

  class ErrorFeed;
  class Catalogs;

  CFiPluginBase& m_provider;
  std::string m_unexpectedId;
  std::shared_ptr<ErrorFeed> m_feed;
  std::unique_ptr<Catalogs> m_catalogs;
};

}  // namespace orca_pdk_4_4

#endif
