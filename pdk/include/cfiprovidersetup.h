#ifndef ORCA_PDK_CFIPROVIDERSETUP_H
#define ORCA_PDK_CFIPROVIDERSETUP_H

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "cfiexport.h"
#include "cfifailure.h"
#include "cfimsgcatalogmgr.h"
#include "cfiobjidlist.h"
#include "cfiparameters.h"
#include "cfipluginbase.h"
#include "cfiproviderarguments.h"
#include "cfitracelog.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// What a provider is called and where its texts are.
struct ORCA_PDK_API SFiProviderIdentity {
  SFiProviderIdentity();
  SFiProviderIdentity(const SFiProviderIdentity&);
  SFiProviderIdentity& operator=(const SFiProviderIdentity&);
  ~SFiProviderIdentity();

  // The usual one: the FI type has the provider's name, and where the folder for trace logs is
  // missing nothing is traced, since each start would only complain.
  static SFiProviderIdentity named(const std::string& providerName);

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
  // The same, with the ids that the catalog has for what the kit's helpers find.
  CFiProviderSetup(CFiPluginBase& provider, const SFiProviderIdentity& identity,
                   const SFiHelperMessages& messages);
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
  //     return m_setup.guarded(__func__, [&] { ... });
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

  // Describes the parameters of the snapshot configuration, in both sets of descriptions.
  void describe(const CFiParameters& parameters);

  // What the user chose for the snapshots of a node; without values where it was not set up or
  // nothing was chosen. For guarded; null throws what givenName throws.
  CFiConfigParamDataList valuesOf(pyx_domain* node) const;

  // The private data of a node that was set up. For guarded: where there is none it throws a
  // failure as givenName does.
  CFiPrivateDataPtr dataOf(pyx_domain* node) const;
  // The same, made where there is none, as initNode does; a node without a name throws as well.
  CFiPrivateDataPtr makeData(pyx_domain* node) const;

  // Whole operations, guarded and to be returned as they are. What a body is given are names, as
  // texts. Bodies may throw as in guarded.

  // claim: nodes of which isOurs(name) is true are primary ones without secondaries.
  template <typename IsOurs>
  int claimWhere(orca_objid* primary, orca_objid*** secondaries, int* count, IsOurs isOurs,
                 const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept {
    const auto claim = [&]() -> int {
      if (!isOurs(givenName(primary))) return PYX_CLAIM_NONE;
      if (secondaries != nullptr) *secondaries = nullptr;
      if (count != nullptr) *count = 0;
      return PYX_CLAIM_PRIMARY;
    };
    const int claimed = guarded("claim", claim, PYX_SEV_ERROR, file, line);
    return claimed == PYX_CLAIM_PRIMARY ? PYX_CLAIM_PRIMARY : PYX_CLAIM_NONE;
  }

  // config: the base's, after checkConfig has looked at the values. check is a CFiParameters, or a
  // function that throws for values which may not be taken.
  template <typename Check>
  int checkedConfig(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec,
                    const Check& check, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) noexcept {
    const auto config = [&] {
      checkConfig(mode, spec, check);
      return m_provider.CFiPluginBase::config(domain, mode, sessionId, spec);
    };
    return guarded("config", config, PYX_SEV_ERROR, file, line);
  }

  // supportsFiType: yes for the provider's own FI type, and for "any".
  int answerFiType(pyx_domain* domain, char* fiType) noexcept;

  // processProviderState: hands out the state of a node that was set up; all else is the base's.
  int answerNodeState(pyx_domain* domain, pyx_blob* blob, pyx_op_providerstate operation) noexcept;

  // getStatus: an EFiSnapshotStatus from statusOf(source, snapshot) for each pair. The source is
  // empty where none was passed. A pair for which it throws is FI_SNAPSHOT_DAMAGED, and the last
  // error says why; the others get theirs, and the result is FI_OK.
  template <typename StatusOf>
  int statusOfEach(orca_objid** sources, orca_objid** snapshots, long count, long* statuses,
                   StatusOf statusOf, const char* file = __builtin_FILE(),
                   int line = __builtin_LINE()) noexcept {
    const auto all = [&] {
      requireGiven(count <= 0 || (snapshots != nullptr && statuses != nullptr), "snapshot list");
      for (long i = 0; i < count; ++i) {
        statuses[i] = FI_SNAPSHOT_DAMAGED;
        const auto ofPair = [&] {
          const bool hasSource = sources != nullptr && sources[i] != nullptr && sources[i]->name;
          const std::string source = hasSource ? sources[i]->name : "";
          statuses[i] = statusOf(source, givenName(snapshots[i]));
        };
        guarded("getStatus", ofPair, PYX_SEV_ERROR, file, line);
      }
    };
    return guarded("getStatus", all, PYX_SEV_ERROR, file, line);
  }

  // restore: restoreOne(source, snapshot) for each pair, once all of them are known to have names.
  // A pair for which it throws is FI_RESTORE_FAILED; the others are restored. Returns FI_OK when
  // all were, else the result of the last one that was not. The framework may want no statuses.
  template <typename RestoreOne>
  int restoreEach(orca_objid** sources, orca_objid** snapshots, long count, long* statuses,
                  RestoreOne restoreOne, const char* file = __builtin_FILE(),
                  int line = __builtin_LINE()) noexcept {
    const auto all = [&] {
      for (long i = 0; statuses != nullptr && i < count; ++i) statuses[i] = FI_RESTORE_FAILED;
      requireGiven(count <= 0 || (sources != nullptr && snapshots != nullptr), "snapshot list");
      for (long i = 0; i < count; ++i) {
        givenName(sources[i]);
        givenName(snapshots[i]);
      }
      int result = FI_OK;
      for (long i = 0; i < count; ++i) {
        const auto one = [&] { restoreOne(givenName(sources[i]), givenName(snapshots[i])); };
        const int restored = guarded("restore", one, PYX_SEV_ERROR, file, line);
        if (restored != FI_OK) {
          result = restored;
        } else if (statuses != nullptr) {
          statuses[i] = FI_RESTORE_DONE;
        }
      }
      return result;
    };
    return guarded("restore", all, PYX_SEV_ERROR, file, line);
  }

  // The work of make, for its guarded: a snapshot of each item, and their names for the framework,
  // all or none. takeOne(item, name) takes a snapshot and sets its name, which is empty before.
  // When something fails each name that was set goes through withdraw(item, name), guarded, so
  // that takeOne sets it before anything can be left behind; then the failure goes on.
  template <typename Items, typename TakeOne, typename Withdraw>
  void takeEach(const Items& items, orca_objid*** snapshots, int* count, TakeOne takeOne,
                Withdraw withdraw) {
    requireGiven(snapshots != nullptr && count != nullptr, "place for the snapshots");
    std::vector<std::string> names(items.size());
    try {
      CFiObjidList ids;
      for (std::size_t i = 0; i < names.size(); ++i) {
        takeOne(items[i], names[i]);
        ids.add(names[i]);
      }
      ids.handOver(*snapshots, *count);
    } catch (...) {
      for (std::size_t i = 0; i < names.size(); ++i) {
        if (!names[i].empty()) guarded("withdraw", [&] { withdraw(items[i], names[i]); });
      }
      throw;  // the framework sees the last message: that of the failure itself
    }
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
  const std::string& idOf(const SFiFailure& failure) const;

  class ErrorFeed;
  class Catalogs;

  CFiPluginBase& m_provider;
  std::string m_unexpectedId;
  std::shared_ptr<ErrorFeed> m_feed;
  std::unique_ptr<Catalogs> m_catalogs;
};

}  // namespace orca_pdk_4_4

#endif
