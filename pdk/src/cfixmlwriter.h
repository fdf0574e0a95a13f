#ifndef ORCA_PDK_CFIXMLWRITER_H
#define ORCA_PDK_CFIXMLWRITER_H

#include <string>
#include <string_view>
#include <xercesc/util/XercesDefs.hpp>

#include "cfitypes.h"
#include "cfixmlescape.h"

namespace orca_pdk_4_4 {

// The name of an element, with its tags made by the compiler.
class CFiXmlElement {
 public:
  consteval explicit CFiXmlElement(std::string_view name) : m_length(name.size()) {
    m_open[0] = m_close[0] = '<';
    m_close[1] = '/';
    name.copy(m_open + 1, m_length);
    name.copy(m_close + 2, m_length);
    m_open[m_length + 1] = m_close[m_length + 2] = '>';
    m_close[m_length + 3] = '\n';
  }

  std::string_view open() const { return {m_open, m_length + 2}; }
  // With a line feed.
  std::string_view close() const { return {m_close, m_length + 4}; }

  // True when the reader's name is this one.
  bool is(const XMLCh* qname) const {
    if (qname == nullptr) return false;
    for (size_t i = 0; i < m_length; ++i) {
      if (qname[i] != static_cast<XMLCh>(m_open[i + 1])) return false;
    }
    return qname[m_length] == 0;
  }

 private:
  static constexpr size_t kRoom = 32;

  size_t m_length;
  char m_open[kRoom] = {};
  char m_close[kRoom] = {};
};

// Builds the text of a document: block tags alone on their lines, leaf elements one line each.
class CFiXmlWriter {
 public:
  explicit CFiXmlWriter(size_t expectedSize = 0) { m_text.reserve(expectedSize); }

  void declaration() { m_text += "<?xml version=\"1.0\" standalone=\"yes\" ?>\n"; }
  void open(const CFiXmlElement& element) { (m_text += element.open()) += '\n'; }
  void close(const CFiXmlElement& element) { m_text += element.close(); }
  // A leaf element; the value is escaped.
  void leaf(const CFiXmlElement& element, const std::string& value) {
    (m_text += '\t') += element.open();
    appendXmlEscaped(m_text, value);
    m_text += element.close();
  }
  // A leaf element for each value.
  template <typename List>
  void leaves(const CFiXmlElement& element, const List& values) {
    for (const std::string& value : values) leaf(element, value);
  }

  tstr text() const { return tstr(m_text.data(), m_text.size()); }
  // Puts the text into a string without a copy in between.
  void storeIn(tstr& target) const { target.set(m_text.data(), m_text.size(), true); }

 private:
  std::string m_text;
};

// A whole document: the declaration, and one block around the blocks of the entries in map order.
// writeEntry(writer, entry) writes one of those; the text replaces the one given.
template <typename Map, typename WriteEntry>
void writeDocument(tstr& text, const CFiXmlElement& list, const Map& entries,
                   WriteEntry writeEntry) {
  CFiXmlWriter writer(text.length());
  writer.declaration();
  writer.open(list);
  for (const auto& [key, entry] : entries) writeEntry(writer, entry);
  writer.close(list);
  writer.storeIn(text);
}

}  // namespace orca_pdk_4_4

#endif
