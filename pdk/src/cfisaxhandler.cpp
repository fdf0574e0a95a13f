#include "cfisaxhandler.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <xercesc/util/XMLString.hpp>

namespace orca_pdk_4_4 {
namespace {

// Two loops over all units, for the vectoriser: one finds whether there is more than ASCII.
bool isAscii(const std::u16string& text) {
  unsigned int seen = 0;
  for (const XMLCh unit : text) seen |= unit;
  return seen < 0x80;
}

std::string narrowed(const std::u16string& text) {
  std::string result(text.size(), '\0');
  std::transform(text.begin(), text.end(), result.begin(),
                 [](XMLCh unit) { return static_cast<char>(unit); });
  return result;
}

// Lone surrogates become U+FFFD.
std::string utf8(const std::u16string& text) {
  if (isAscii(text)) return narrowed(text);
  std::string result;
  result.reserve(text.size() * 2);
  for (size_t next = 0; next < text.size();) {
    UChar32 point = 0;
    U16_NEXT_OR_FFFD(text, next, text.size(), point);
    char bytes[U8_MAX_LENGTH];
    size_t count = 0;
    U8_APPEND_UNSAFE(bytes, count, point);
    result.append(bytes, count);
  }
  return result;
}

}  // namespace

CFiSaxParseHandler::CFiSaxParseHandler() = default;
CFiSaxParseHandler::~CFiSaxParseHandler() = default;

void CFiSaxParseHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                                      const xercesc::Attributes&) {}
void CFiSaxParseHandler::endElement(const XMLCh*, const XMLCh*, const XMLCh*) {}

// The pieces are converted together: one can end between the halves of a surrogate pair.
void CFiSaxParseHandler::characters(const XMLCh* chars, const XMLSize_t length) {
  if (chars != nullptr) m_text.append(chars, length);
}

void CFiSaxParseHandler::warning(const xercesc::SAXParseException& exception) { keep(exception); }
void CFiSaxParseHandler::error(const xercesc::SAXParseException& exception) { keep(exception); }
void CFiSaxParseHandler::fatalError(const xercesc::SAXParseException& exception) {
  keep(exception);
}

void CFiSaxParseHandler::keep(const xercesc::SAXParseException& exception) {
  m_errorSeen = true;
  m_savedError = std::make_unique<xercesc::SAXParseException>(exception);
}

bool CFiSaxParseHandler::isErrorSeen() const { return m_errorSeen; }

const xercesc::SAXParseException* CFiSaxParseHandler::getSavedError() const {
  return m_savedError.get();
}

void CFiSaxParseHandler::clearText() { m_text.clear(); }

std::string CFiSaxParseHandler::text() const { return utf8(m_text); }

void CFiSaxParseHandler::throwSavedError() const {
  if (!m_errorSeen || !m_savedError) return;
  if (xercesc::XMLString::stringLen(m_savedError->getMessage()) == 0) return;
  throw xercesc::SAXParseException(*m_savedError);
}

}  // namespace orca_pdk_4_4
