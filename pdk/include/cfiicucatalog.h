#ifndef ORCA_PDK_CFIICUCATALOG_H
#define ORCA_PDK_CFIICUCATALOG_H

#include <unicode/fmtable.h>
#include <unicode/resbund.h>

#include <memory>
#include <string>

#include "cfiexport.h"
#include "cfirefcount.h"
#include "cfismartptr.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// A message on its way from a provider to the framework: an id, a severity and typed arguments.
// Only a message with at least one argument travels: without any its serialised form is empty.
// When memory is short, an operation throws std::bad_alloc and leaves the message as it was.
class ORCA_PDK_API CFiMessage : public CFiRefCount {
 public:
  // severity is a numeric pyx_eseverity; file and line say where the message was made.
  CFiMessage(std::string id, int severity, std::string file, int line);
  ~CFiMessage() override;

  // The message as serialised text. Record and text belong to the message and stay valid until the
  // next serialize or its end.
  virtual pyx_msg_info* serialize() = 0;
  // Takes id, severity and arguments from a serialised text. Null, or a text without any tag,
  // changes nothing; a text cut anywhere gives what stood before the cut.
  virtual void deserialize(const pyx_msg_info* info) = 0;
  virtual int getSeverity() const;
  virtual int getLineNumber() const;
  virtual std::string getFileName() const;
  virtual std::string getMessageId() const;
  // The pattern with the arguments put in; the pattern itself when that cannot be done.
  virtual tstr formatMessage(tstr pattern) = 0;

 protected:
  void setMessageId(std::string id);
  void setSeverity(int severity);

 private:
  std::string m_id;
  int m_severity;
  std::string m_file;
  int m_line;
};

using CFiMessagePtr = CFiSmartPtr<CFiMessage, CFiNullAllocator<CFiMessage>>;

// The message record of the kit, with ICU arguments and ICU patterns ("{0} of {1}").
class ORCA_PDK_API CFiIcuMessage : public CFiMessage {
 public:
  CFiIcuMessage(std::string id, int severity, std::string file = std::string(), int line = 0);
  ~CFiIcuMessage() override;

  // Appends an argument. Strings, doubles, dates and 32-bit integers travel; values of other kinds
  // are lost on the way. A string argument should hold no "<": it would be cut there.
  void addArgument(const icu::Formattable& argument);
  // The number of arguments.
  int argumentCount() const;
  // One argument; an argument past the end is the long 0.
  const icu::Formattable& argument(int index) const;

  pyx_msg_info* serialize() override;
  void deserialize(const pyx_msg_info* info) override;
  tstr formatMessage(tstr pattern) override;

 private:
  icu::Formattable m_arguments;
  std::string m_text;
  pyx_msg_info m_info = {};
};

// The texts of one language.
class ORCA_PDK_API CFiMessageCatalog : public virtual CFiRefCount {
 public:
  CFiMessageCatalog();
  // Makes the catalog ready. Returns 0, or 3 when the language has no texts of its own.
  virtual int init() = 0;
  // The text of a message id. A missing one gives defaultText, or when that is null the catalog's
  // name and the id in angle brackets.
  virtual tstr getMessage(const std::string& msgId, const char* defaultText) const = 0;
  ~CFiMessageCatalog() override;
};

using CFiMessageCatalogPtr = CFiSmartPtr<CFiMessageCatalog, CFiNullAllocator<CFiMessageCatalog>>;

// A catalog in an ICU resource bundle, the folder lib<name> below the install root's resources.
// Each text found is preceded by the catalog's name and ": ". Which bundle serves a language is
// ICU's choice: the language's own, a less exact one, the default locale's, the root one. A bundle
// that is cut short counts as absent.
class ORCA_PDK_API CFiIcuMessageCatalog : public CFiMessageCatalog {
 public:
  // language as in an ICU locale ("en", "de_AT"; null or "" for the root texts); copied. Any text
  // will do: one that is no name of a language is a language without texts of its own.
  CFiIcuMessageCatalog(const char* language, const std::string& name);
  ~CFiIcuMessageCatalog() override;

  int init() override;
  tstr getMessage(const std::string& msgId, const char* defaultText) const override;
  // True when init found texts, be it in a less exact language or in the root texts.
  bool hasTexts() const;

 private:
  std::string m_language;
  std::string m_bundlePath;
  std::string m_name;
  std::unique_ptr<icu::ResourceBundle> m_bundle;
  bool m_hasTexts = false;
};

}  // namespace orca_pdk_4_4

#endif
