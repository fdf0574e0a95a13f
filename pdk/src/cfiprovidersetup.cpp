#include "cfiprovidersetup.h"

#include <algorithm>
#include <cstdlib>

#include "cfiexecpipebase.h"
#include "cfistringtool.h"
#include "cfitracelog.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

// The language of the environment, "de_AT" for "de_AT.UTF-8@euro"; empty when it names none.
std::string languageOfEnvironment() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    std::string language = value;
    language.resize(std::min(language.size(), language.find_first_of(".@")));
    return language == "C" || language == "POSIX" ? std::string() : language;
  }
  return std::string();
}

std::string nativeLanguage(const SFiProviderIdentity& identity) {
  if (!identity.nativeLanguage.empty()) return identity.nativeLanguage;
  const std::string language = languageOfEnvironment();
  return language.empty() ? identity.defaultLanguage : language;
}

// The process's object when this provider is the first to want one, else an object of its own.
CFiMessageCatalogManagerPtr newCatalogManager() {
  using Slot = CFiContextSingletonAllocator<CFiMessageCatalogManager>;
  const bool first = Slot::instance() == nullptr;
  return CFiMessageCatalogManagerPtr(first ? Slot::allocate() : new CFiMessageCatalogManager);
}

CFiPrivateDataManagerPtr holderOf(CFiPrivateDataMap* map, const CFiTraceLogPtr& log) {
  using Slot = CFiContextSingletonAllocator<CFiPrivateDataManager>;
  CFiPrivateDataManagerPtr holder(map);
  map->registerTraceLog(log);
  if (Slot::instance() == nullptr) Slot::setInstance(map);
  return holder;
}

int traceLevelOf(pyx_eseverity severity) {
  switch (severity) {
    case PYX_SEV_ERROR:
      return FI_TRACE_ERROR;
    case PYX_SEV_WARNING:
      return FI_TRACE_WARNING;
    case PYX_SEV_INFO:
      return FI_TRACE_INFO;
    default:
      return FI_TRACE_DETAIL;
  }
}

// Text that a message can carry.
icu::UnicodeString carried(const std::string& text) {
  icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
  unicode.findAndReplace(icu::UnicodeString(u'<'), icu::UnicodeString(u'\u2039'));
  unicode.findAndReplace(icu::UnicodeString(UChar{0}), icu::UnicodeString(u'\u2400'));
  return unicode;
}

}  // namespace

// Leads the lines of the process's trace log to its error manager while any set-up lives. Both are
// held, so that neither goes while the log points at the manager.
class CFiProviderSetup::ErrorFeed {
 public:
  static std::shared_ptr<ErrorFeed> get() {
    static std::weak_ptr<ErrorFeed> current;
    std::shared_ptr<ErrorFeed> feed = current.lock();
    if (!feed) current = feed = std::make_shared<ErrorFeed>();
    return feed;
  }

  ErrorFeed()
      : m_log(CFiContextSingletonAllocator<CFiTraceLog>::allocate()),
        m_errors(CFiContextSingletonAllocator<CFiErrorManager>::allocate()) {
    m_log->registerErrorManager(m_errors.get());
  }
  ~ErrorFeed() { m_log->registerErrorManager(nullptr); }
  ErrorFeed(const ErrorFeed&) = delete;
  ErrorFeed& operator=(const ErrorFeed&) = delete;

  const CFiTraceLogPtr& log() const { return m_log; }
  const CFiErrorManagerPtr& errors() const { return m_errors; }

 private:
  CFiTraceLogPtr m_log;
  CFiErrorManagerPtr m_errors;
};

// A catalog manager together with the factory that it uses, which it may outlive.
class CFiProviderSetup::Catalogs {
 public:
  explicit Catalogs(const SFiProviderIdentity& identity)
      : m_factory(identity.catalogName.empty() ? identity.providerName : identity.catalogName,
                  identity.defaultLanguage),
        m_manager(newCatalogManager()) {
    m_manager->setNativeLanguage(nativeLanguage(identity).c_str());
  }
  ~Catalogs() { m_manager->registerFactory(nullptr); }
  Catalogs(const Catalogs&) = delete;
  Catalogs& operator=(const Catalogs&) = delete;

  void activate() { m_manager->registerFactory(&m_factory); }
  const CFiMessageCatalogManagerPtr& manager() const { return m_manager; }

 private:
  CFiIcuMessageCatalogFactory m_factory;
  CFiMessageCatalogManagerPtr m_manager;
};

SFiProviderIdentity::SFiProviderIdentity() = default;
SFiProviderIdentity::SFiProviderIdentity(const SFiProviderIdentity&) = default;
SFiProviderIdentity& SFiProviderIdentity::operator=(const SFiProviderIdentity&) = default;
SFiProviderIdentity::~SFiProviderIdentity() = default;

CFiProviderSetup::CFiProviderSetup(CFiPluginBase& provider, const SFiProviderIdentity& identity)
    : m_provider(provider),
      m_unexpectedId(identity.unexpectedId),
      m_feed(ErrorFeed::get()),
      m_catalogs(std::make_unique<Catalogs>(identity)) {
  const tstr name = CFiStringTool::str2tstr(identity.providerName);
  const CFiTraceLogPtr& log = m_feed->log();
  if (!log->isInitialized()) log->initialize(name, tstr(), tstr(), identity.traceLevel, false);
  m_catalogs->activate();
  provider.setProviderName(name);
  provider.setFimName(identity.fimName.c_str());
  provider.setMessageIndexOffset(identity.messageIndexOffset);
  provider.registerTraceLog(log);
  provider.registerErrorManager(m_feed->errors());
  provider.registerCatalogManager(m_catalogs->manager());
  provider.registerPrivateDataManager(holderOf(new CFiPrivateDataMap, log));
  provider.registerSessionManager(
      CFiSessionManagerPtr(CFiContextSingletonAllocator<CFiSessionManager>::allocate()));
}

CFiProviderSetup::~CFiProviderSetup() = default;

void CFiProviderSetup::pushMessage(const std::string& id, pyx_eseverity severity,
                                   const std::vector<icu::Formattable>& arguments) {
  auto* record = new CFiIcuMessage(id, severity);
  CFiMessagePtr message(record);
  for (const icu::Formattable& argument : arguments) record->addArgument(argument);
  if (arguments.empty()) record->addArgument(icu::Formattable(CFiStringTool::str2ustr(id)));
  const tstr sentence = m_catalogs->manager()->getLocalizedMessage(message, "native");
  if (const CFiTraceLogPtr& log = m_provider.getTraceLog()) {
    log->trace(traceLevelOf(severity), "%s: %s", id.c_str(), sentence.c_str());
  }
  if (m_provider.errorManager()) m_provider.errorManager()->pushError(message);
}

void CFiProviderSetup::push(const SFiFailure& failure, pyx_eseverity severity) {
  std::vector<icu::Formattable> arguments;
  arguments.reserve(failure.arguments.size());
  for (const CFiArgument& argument : failure.arguments) {
    arguments.emplace_back(carried(argument.text()));
  }
  pushMessage(failure.messageId, severity, arguments);
}

SFiFailure CFiProviderSetup::currentFailure(const char* operation, int& result) const {
  const auto unexpected = [&](int code, const std::string& cause) -> SFiFailure {
    result = code;
    return {m_unexpectedId, {operation, cause}, code};
  };
  try {
    throw;
  } catch (const SFiFailure& failure) {
    result = failure.result;
    return failure;
  } catch (const std::bad_alloc&) {
    result = FI_NO_MEMORY;
    return unexpected(FI_NO_MEMORY, "no memory");
  } catch (const std::exception& error) {
    return unexpected(FI_FAILED, error.what());
  } catch (const CFiUdidException& error) {
    return unexpected(FI_FAILED, error.text);
  } catch (const EFiExecPipe& error) {
    return unexpected(FI_FAILED, error.message);
  } catch (...) {
    return unexpected(FI_FAILED, "unknown exception");
  }
}

int CFiProviderSetup::pushCurrent(const char* operation, pyx_eseverity severity) noexcept {
  int result = FI_FAILED;
  try {
    push(currentFailure(operation, result), severity);
  } catch (...) {
    // Without memory the result alone tells what happened.
  }
  return result;
}

void CFiProviderSetup::keepPrivateDataIn(CFiPrivateDataMap* map) {
  m_provider.registerPrivateDataManager(holderOf(map, m_feed->log()));
}

}  // namespace orca_pdk_4_4
