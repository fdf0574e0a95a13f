#ifndef ORCA_PDK_CFIMSGCATALOGMGR_H
#define ORCA_PDK_CFIMSGCATALOGMGR_H

#include <map>
#include <string>

#include "cfiexport.h"
#include "cfiicucatalog.h"
#include "cfirefcount.h"
#include "cfismartptr.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Makes the catalogs and messages of one provider.
class ORCA_PDK_API CFiMessageCatalogFactory {
 public:
  virtual ~CFiMessageCatalogFactory();
  // The language that stands in where another has no text.
  virtual std::string getDefaultLanguage() = 0;
  // A new catalog, its init already run; empty when the language has none. Asked once for each
  // language that has one.
  virtual CFiMessageCatalogPtr createCatalog(const std::string& language) = 0;
  // A new message with the content of a record; never empty for a non-null record.
  virtual CFiMessagePtr createMessage(const pyx_msg_info* info) = 0;
};

// The ready factory: catalogs in ICU resource bundles of one name.
class ORCA_PDK_API CFiIcuMessageCatalogFactory : public CFiMessageCatalogFactory {
 public:
  CFiIcuMessageCatalogFactory(std::string catalogName, std::string defaultLanguage);
  ~CFiIcuMessageCatalogFactory() override;

  std::string getDefaultLanguage() override;
  CFiMessageCatalogPtr createCatalog(const std::string& language) override;
  CFiMessagePtr createMessage(const pyx_msg_info* info) override;

 private:
  std::string m_catalogName;
  std::string m_defaultLanguage;
};

// Turns messages into sentences of a language. A catalog is made when its language is first wanted
// and kept, a hundred of them at most: the next one takes the place of all but the default one.
//
// Texts handed out as char* belong to the manager: each lives until it is handed to
// deleteLocalizedMessage or a text of the same message id is asked for again.
//
// Threads: no lock; the provider's calling thread only.
class ORCA_PDK_API CFiMessageCatalogManager : public virtual CFiRefCount {
 public:
  CFiMessageCatalogManager();
  ~CFiMessageCatalogManager() override;

  // The language that "native" stands for; empty until it is set.
  std::string getNativeLanguage() const;
  // Null counts as empty.
  void setNativeLanguage(const char* language);
  // Sets the factory and makes the catalog of its default language. Not owned: it must outlive the
  // manager. Null takes it away.
  void registerFactory(CFiMessageCatalogFactory* factory);
  // Makes the catalog of a language when there is none yet.
  void activateCatalog(std::string language);

  // The answer of a language's catalog (empty: the factory's default language), which may be
  // defaultText: see CFiMessageCatalog::getMessage. Where a language has no catalog, that of the
  // default language answers; where there is none either, or no factory, the answer is defaultText,
  // or when that is null the id in angle brackets.
  tstr getMessage(const std::string& msgId, const char* defaultText, std::string language);

  // The sentence of a message, its arguments put in. A null language means the default one. An
  // empty message gives an empty text.
  tstr getLocalizedMessage(CFiMessagePtr& message, const char* language);
  // The same for a record; *text is set to the sentence, or to null when the record is null or
  // there is no factory.
  void getLocalizedMessage(pyx_msg_info* info, const char* language, char** text);
  // The pattern of a message id, no arguments put in.
  void getLocalizedMessage(const char* msgId, const char* language, char** text);
  // Takes a text back and sets the pointer to null. One that was not handed out, and null, are
  // ignored.
  void deleteLocalizedMessage(char** text);

 private:
  const CFiMessageCatalog* findCatalog(const std::string& language) const;
  std::string resolveLanguage(const char* language) const;
  void handOut(const std::string& msgId, const tstr& sentence, char** text);

  std::map<std::string, CFiMessageCatalogPtr> m_catalogs;
  CFiMessageCatalogFactory* m_factory = nullptr;
  std::map<std::string, std::string> m_handedOut;
  std::string m_nativeLanguage;
};

using CFiMessageCatalogManagerPtr =
    CFiSmartPtr<CFiMessageCatalogManager, CFiContextSingletonAllocator<CFiMessageCatalogManager>>;

extern template class CFiContextSingletonAllocator<CFiMessageCatalogManager>;

}  // namespace orca_pdk_4_4

#endif
