#ifndef ORCA_PDK_CFISAXHANDLER_H
#define ORCA_PDK_CFISAXHANDLER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// Base of the document handlers: gathers the text of elements and keeps the last warning or error.
// A warning counts as an error.
class ORCA_PDK_API CFiSaxParseHandler : public xercesc::DefaultHandler {
 public:
  CFiSaxParseHandler();
  ~CFiSaxParseHandler() override;
  CFiSaxParseHandler(const CFiSaxParseHandler&) = delete;
  CFiSaxParseHandler& operator=(const CFiSaxParseHandler&) = delete;

  // Do nothing here; derived handlers override them.
  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
  // Remembers the reader's place, for errors found by the handler itself.
  void setDocumentLocator(const xercesc::Locator* const locator) override;
  // Appends to the text gathered so far.
  void characters(const XMLCh* chars, const XMLSize_t length) override;
  // Keep a copy of the exception; parsing goes on as far as the reader can.
  void warning(const xercesc::SAXParseException& exception) override;
  void error(const xercesc::SAXParseException& exception) override;
  void fatalError(const xercesc::SAXParseException& exception) override;

  // From now on text() gives so many bytes in all; no limit at first. A parser sets it for each
  // document, since nested elements can repeat the same text without end.
  void limitText(std::size_t bytes);

  // True once a warning or an error was reported.
  bool isErrorSeen() const;
  // The last one reported, or null; owned by the handler.
  const xercesc::SAXParseException* getSavedError() const;

 protected:
  // Forgets the text gathered so far.
  void clearText();
  // The text gathered since the last clearText, in UTF-8. Beyond the limit the document is in error
  // and its parse ends.
  std::string text();
  // Throws a copy of the saved error when there is one and it carries a message.
  void throwSavedError() const;

 private:
  void keep(const xercesc::SAXParseException& exception);
  [[noreturn]] void refuse();

  std::unique_ptr<xercesc::SAXParseException> m_savedError;
  bool m_errorSeen = false;
  // The text gathered: the first bytes here while it is ASCII, all of it there once it is not.
  std::vector<char> m_ascii;
  std::size_t m_asciiLength = 0;
  std::u16string m_units;
  std::size_t m_textLeft = SIZE_MAX;
  const xercesc::Locator* m_locator = nullptr;
};

}  // namespace orca_pdk_4_4

#endif
