#include "cfisaxhandler.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/util/XMLString.hpp>

#include "cfixerces.h"

namespace orca_pdk_4_4 {
namespace {

// Writes units as bytes; false when one is beyond ASCII. One loop without a branch, for the
// vectoriser.
bool writeAscii(const XMLCh* chars, size_t length, char* out) {
  unsigned int seen = 0;
  for (size_t i = 0; i < length; ++i) {
    seen |= chars[i];
    out[i] = static_cast<char>(chars[i]);
  }
  return seen < 0x80;
}

constexpr XMLCh kTooMuch[] = u"the values of the document repeat too much of its text";

// Lone surrogates become U+FFFD.
std::string utf8(const std::u16string& text) {
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

void CFiSaxParseHandler::setDocumentLocator(const xercesc::Locator* const locator) {
  m_locator = locator;
}

// Pieces beyond ASCII are converted together: one can end between the halves of a surrogate pair.
void CFiSaxParseHandler::characters(const XMLCh* chars, const XMLSize_t length) {
  if (chars == nullptr) return;
  if (m_units.empty()) {
    if (m_ascii.size() - m_asciiLength < length) m_ascii.resize(2 * (m_asciiLength + length));
    if (writeAscii(chars, length, m_ascii.data() + m_asciiLength)) {
      m_asciiLength += length;
      return;
    }
    m_units.assign(m_ascii.data(), m_ascii.data() + m_asciiLength);
  }
  m_units.append(chars, length);
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

void CFiSaxParseHandler::clearText() {
  m_asciiLength = 0;
  m_units.clear();
}

void CFiSaxParseHandler::limitText(std::size_t bytes) { m_textLeft = bytes; }

std::string CFiSaxParseHandler::text() {
  std::string text = m_units.empty() ? std::string(m_ascii.data(), m_asciiLength) : utf8(m_units);
  if (text.size() > m_textLeft) refuse();
  m_textLeft -= text.size();
  return text;
}

// As the scanner does with its own fatal errors: it reports them and ends by throwing their code.
void CFiSaxParseHandler::refuse() {
  fatalError(m_locator == nullptr ? xercesc::SAXParseException(kTooMuch, nullptr, nullptr, 0, 0)
                                  : xercesc::SAXParseException(kTooMuch, *m_locator));
  throw xercesc::XMLErrs::EntityExpansionLimitExceeded;
}

void CFiSaxParseHandler::throwSavedError() const {
  if (!m_errorSeen || !m_savedError) return;
  if (xercesc::XMLString::stringLen(m_savedError->getMessage()) == 0) return;
  withMemory([this] { throw xercesc::SAXParseException(*m_savedError); });
}

}  // namespace orca_pdk_4_4
