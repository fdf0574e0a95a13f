#include "cfimsgcatalogmgr.h"

#include <cstring>
#include <utility>

#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr std::size_t kMostCatalogs = 100;

}  // namespace

template class CFiContextSingletonAllocator<CFiMessageCatalogManager>;

CFiMessageCatalogFactory::~CFiMessageCatalogFactory() = default;

CFiIcuMessageCatalogFactory::CFiIcuMessageCatalogFactory(std::string catalogName,
                                                         std::string defaultLanguage)
    : m_catalogName(std::move(catalogName)), m_defaultLanguage(std::move(defaultLanguage)) {}
CFiIcuMessageCatalogFactory::~CFiIcuMessageCatalogFactory() = default;

std::string CFiIcuMessageCatalogFactory::getDefaultLanguage() { return m_defaultLanguage; }

CFiMessageCatalogPtr CFiIcuMessageCatalogFactory::createCatalog(const std::string& language) {
  auto* catalog = new CFiIcuMessageCatalog(language.c_str(), m_catalogName);
  CFiMessageCatalogPtr holder(catalog);
  // A catalog that falls back to a less exact language answers 3 but serves.
  const bool usable = catalog->init() == FI_OK || catalog->hasTexts();
  return usable ? holder : CFiMessageCatalogPtr();
}

CFiMessagePtr CFiIcuMessageCatalogFactory::createMessage(const pyx_msg_info* info) {
  CFiMessagePtr message(new CFiIcuMessage(std::string(), 0));
  message->deserialize(info);
  return message;
}

CFiMessageCatalogManager::CFiMessageCatalogManager() = default;
CFiMessageCatalogManager::~CFiMessageCatalogManager() = default;

std::string CFiMessageCatalogManager::getNativeLanguage() const { return m_nativeLanguage; }

void CFiMessageCatalogManager::setNativeLanguage(const char* language) {
  m_nativeLanguage = language != nullptr ? language : "";
}

void CFiMessageCatalogManager::registerFactory(CFiMessageCatalogFactory* factory) {
  m_factory = factory;
  if (factory != nullptr) activateCatalog(factory->getDefaultLanguage());
}

void CFiMessageCatalogManager::activateCatalog(std::string language) {
  if (m_factory == nullptr || findCatalog(language) != nullptr) return;
  CFiMessageCatalogPtr catalog = m_factory->createCatalog(language);
  if (!catalog) return;
  // Languages are texts from outside, of which there may be any number.
  if (m_catalogs.size() >= kMostCatalogs) {
    const std::string defaultLanguage = m_factory->getDefaultLanguage();
    std::erase_if(m_catalogs, [&](const auto& kept) { return kept.first != defaultLanguage; });
  }
  m_catalogs[language] = std::move(catalog);
}

const CFiMessageCatalog* CFiMessageCatalogManager::findCatalog(const std::string& language) const {
  const auto found = m_catalogs.find(language);
  return found != m_catalogs.end() ? found->second.get() : nullptr;
}

tstr CFiMessageCatalogManager::getMessage(const std::string& msgId, const char* defaultText,
                                          std::string language) {
  if (m_factory != nullptr) {
    const std::string defaultLanguage = m_factory->getDefaultLanguage();
    if (language.empty()) language = defaultLanguage;
    activateCatalog(language);
    const CFiMessageCatalog* catalog = findCatalog(language);
    if (catalog == nullptr) catalog = findCatalog(defaultLanguage);
    if (catalog != nullptr) return catalog->getMessage(msgId, defaultText);
  }
  if (defaultText != nullptr) return CFiStringTool::str2tstr(defaultText);
  return CFiStringTool::str2tstr("<" + msgId + ">");
}

std::string CFiMessageCatalogManager::resolveLanguage(const char* language) const {
  if (language == nullptr) return std::string();
  return std::strcmp(language, "native") == 0 ? m_nativeLanguage : std::string(language);
}

tstr CFiMessageCatalogManager::getLocalizedMessage(CFiMessagePtr& message, const char* language) {
  if (!message) return tstr();
  return message->formatMessage(
      getMessage(message->getMessageId(), nullptr, resolveLanguage(language)));
}

void CFiMessageCatalogManager::getLocalizedMessage(pyx_msg_info* info, const char* language,
                                                   char** text) {
  if (text == nullptr) return;
  *text = nullptr;
  if (info == nullptr || m_factory == nullptr) return;
  CFiMessagePtr message = m_factory->createMessage(info);
  if (message) handOut(message->getMessageId(), getLocalizedMessage(message, language), text);
}

void CFiMessageCatalogManager::getLocalizedMessage(const char* msgId, const char* language,
                                                   char** text) {
  if (text == nullptr) return;
  *text = nullptr;
  if (msgId == nullptr) return;
  const std::string id(msgId);
  handOut(id, getMessage(id, nullptr, resolveLanguage(language)), text);
}

void CFiMessageCatalogManager::handOut(const std::string& msgId, const tstr& sentence,
                                       char** text) {
  std::string& kept =
      m_handedOut.insert_or_assign(msgId, CFiStringTool::tstr2str(sentence)).first->second;
  *text = kept.data();
}

void CFiMessageCatalogManager::deleteLocalizedMessage(char** text) {
  if (text == nullptr || *text == nullptr) return;
  // Two ids may have one sentence: the one that was handed out goes, not its twin.
  auto wanted = m_handedOut.end();
  for (auto entry = m_handedOut.begin(); entry != m_handedOut.end(); ++entry) {
    if (entry->second.data() == *text) {
      wanted = entry;
      break;
    }
    if (wanted == m_handedOut.end() && entry->second == *text) wanted = entry;
  }
  if (wanted == m_handedOut.end()) return;
  m_handedOut.erase(wanted);
  *text = nullptr;
}

}  // namespace orca_pdk_4_4
