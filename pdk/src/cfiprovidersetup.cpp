#include "cfiprovidersetup.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "cficonfiguration.h"
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

// A catalog manager together with the factory that it uses, which it may outlive, and the ids that
// the catalog has for the failures of the kit's helpers.
class CFiProviderSetup::Catalogs {
 public:
  Catalogs(const SFiProviderIdentity& identity, SFiHelperMessages messages)
      : m_factory(identity.catalogName.empty() ? identity.providerName : identity.catalogName,
                  identity.defaultLanguage),
        m_manager(newCatalogManager()),
        m_messages(std::move(messages)) {
    m_manager->setNativeLanguage(nativeLanguage(identity).c_str());
  }
  ~Catalogs() { m_manager->registerFactory(nullptr); }
  Catalogs(const Catalogs&) = delete;
  Catalogs& operator=(const Catalogs&) = delete;

  void activate() { m_manager->registerFactory(&m_factory); }
  const CFiMessageCatalogManagerPtr& manager() const { return m_manager; }
  const SFiHelperMessages& messages() const { return m_messages; }

 private:
  CFiIcuMessageCatalogFactory m_factory;
  CFiMessageCatalogManagerPtr m_manager;
  SFiHelperMessages m_messages;
};

SFiProviderIdentity::SFiProviderIdentity() = default;
SFiProviderIdentity::SFiProviderIdentity(const SFiProviderIdentity&) = default;
SFiProviderIdentity& SFiProviderIdentity::operator=(const SFiProviderIdentity&) = default;
SFiProviderIdentity::~SFiProviderIdentity() = default;

SFiProviderIdentity SFiProviderIdentity::named(const std::string& providerName) {
  tstr folder;
  tstr file;
  CFiConfigurationPathTool::getTraceFileInfo(providerName.c_str(), folder, file);
  SFiProviderIdentity identity;
  identity.providerName = providerName;
  identity.fimName = providerName;
  std::error_code ignored;
  if (!std::filesystem::is_directory(folder.c_str(), ignored)) identity.traceLevel = 0;
  return identity;
}

CFiProviderSetup::CFiProviderSetup(CFiPluginBase& provider, const SFiProviderIdentity& identity)
    : CFiProviderSetup(provider, identity, SFiHelperMessages()) {}

CFiProviderSetup::CFiProviderSetup(CFiPluginBase& provider, const SFiProviderIdentity& identity,
                                   const SFiHelperMessages& messages)
    : m_provider(provider),
      m_unexpectedId(identity.unexpectedId),
      m_feed(ErrorFeed::get()),
      m_catalogs(std::make_unique<Catalogs>(identity, messages)) {
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
  pushMessage(idOf(failure), severity, arguments);
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

const std::string& CFiProviderSetup::idOf(const SFiFailure& failure) const {
  const SFiHelperMessages thrown;
  const SFiHelperMessages& own = m_catalogs->messages();
  for (const auto id : {&SFiHelperMessages::missing, &SFiHelperMessages::badDocument,
                        &SFiHelperMessages::badValue, &SFiHelperMessages::unknownParameter}) {
    if (failure.messageId == thrown.*id) return own.*id;
  }
  return failure.messageId;
}

void CFiProviderSetup::keepPrivateDataIn(CFiPrivateDataMap* map) {
  m_provider.registerPrivateDataManager(holderOf(map, m_feed->log()));
}

void CFiProviderSetup::describe(const CFiParameters& parameters) {
  parameters.describe(m_provider.firstConfigInfoList(FI_CONFIG_SNAPSHOT));
  parameters.describe(m_provider.secondConfigInfoList(FI_CONFIG_SNAPSHOT));
}

CFiConfigParamDataList CFiProviderSetup::valuesOf(pyx_domain* node) const {
  requireGiven(node != nullptr, "node");
  const CFiPrivateDataPtr data = m_provider.findPrivateData(node);
  if (!data || !data->hasConfigDataList(FI_CONFIG_SNAPSHOT)) return CFiConfigParamDataList();
  return *data->configDataList(FI_CONFIG_SNAPSHOT);
}

CFiPrivateDataPtr CFiProviderSetup::dataOf(pyx_domain* node) const {
  requireGiven(node != nullptr, "node");
  CFiPrivateDataPtr data = m_provider.findPrivateData(node);
  requireGiven(static_cast<bool>(data), "set-up of the node");
  return data;
}

CFiPrivateDataPtr CFiProviderSetup::makeData(pyx_domain* node) const {
  givenName(node);
  CFiPrivateDataPtr data = m_provider.findOrCreatePrivateData(node, 0);
  requireGiven(static_cast<bool>(data), "private data");
  return data;
}

int CFiProviderSetup::answerFiType(pyx_domain* domain, char* fiType) noexcept {
  return guarded("supportsFiType", [&]() -> int {
    m_provider.CFiPluginBase::supportsFiType(domain, fiType);
    const std::string type = fiType == nullptr ? "" : fiType;
    if (type != m_provider.getFimName() && type != "any") return FI_OK;
    if (domain != nullptr && domain->capability != nullptr) *domain->capability = FI_YES;
    return FI_YES;
  });
}

int CFiProviderSetup::answerNodeState(pyx_domain* domain, pyx_blob* blob,
                                      pyx_op_providerstate operation) noexcept {
  return guarded("processProviderState", [&]() -> int {
    const CFiPrivateDataPtr data = m_provider.findPrivateData(domain);
    if (operation != PYX_OPSTATE_GET || blob == nullptr || !data) {
      return m_provider.CFiPluginBase::processProviderState(domain, blob, operation);
    }
    return data->getNodeState(blob);
  });
}

}  // namespace orca_pdk_4_4
