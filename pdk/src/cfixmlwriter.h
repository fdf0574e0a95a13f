#ifndef ORCA_PDK_CFIXMLWRITER_H
#define ORCA_PDK_CFIXMLWRITER_H

#include <string>
#include <string_view>
#include <xercesc/util/XercesDefs.hpp>

#include "cfitstr.h"
#include "cfitypes.h"
#include "cfixmlescape.h"

namespace orca_pdk_4_4 {

// An element, with its tags made by the compiler.
class CFiXmlElement {
 public:
  consteval explicit CFiXmlElement(std::string_view name) : m_size(name.size()) {
    join(m_open, "\t<", name);
    join(m_close, "</", name);
  }

  // The tags of a block end their lines; that of a leaf begins one with a tab.
  std::string_view open() const { return {m_open + 1, m_size + 3}; }
  std::string_view leaf() const { return {m_open, m_size + 3}; }
  std::string_view close() const { return {m_close, m_size + 4}; }

  // True when the reader's name is this one.
  bool is(const XMLCh* qname) const {
    if (qname == nullptr) return false;
    for (size_t i = 0; i < m_size; ++i) {
      if (qname[i] != static_cast<XMLCh>(m_open[i + 2])) return false;
    }
    return qname[m_size] == 0;
  }

 private:
  static constexpr size_t kRoom = 32;

  static consteval void join(char (&tag)[kRoom], std::string_view before, std::string_view name) {
    before.copy(tag, kRoom);
    name.copy(tag + before.size(), kRoom);
    std::string_view(">\n").copy(tag + before.size() + name.size(), kRoom);
  }

  size_t m_size;
  char m_open[kRoom] = {};
  char m_close[kRoom] = {};
};

// Builds the text of a document: block tags alone on their lines, leaf elements one line each.
class CFiXmlWriter {
 public:
  explicit CFiXmlWriter(size_t expectedSize = 0) { m_text.reserve(expectedSize); }

  void declaration() { m_text += "<?xml version=\"1.0\" standalone=\"yes\" ?>\n"; }
  void open(const CFiXmlElement& element) { m_text += element.open(); }
  void close(const CFiXmlElement& element) { m_text += element.close(); }
  // A leaf element; the value is escaped.
  void leaf(const CFiXmlElement& element, std::string_view value) {
    m_text += element.leaf();
    appendXmlEscaped(m_text, value);
    close(element);
  }
  // A leaf element for each value.
  template <typename List>
  void leaves(const CFiXmlElement& element, const List& values) {
    for (const std::string& value : values) leaf(element, value);
  }

  const std::string& text() const { return m_text; }

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
  assignTstr(text, writer.text());
}

}  // namespace orca_pdk_4_4

#endif
