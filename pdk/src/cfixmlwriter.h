#ifndef ORCA_PDK_CFIXMLWRITER_H
#define ORCA_PDK_CFIXMLWRITER_H

#include <new>
#include <string>
#include <string_view>
#include <xercesc/util/XercesDefs.hpp>

#include "cfitypes.h"
#include "cfixmlescape.h"

namespace orca_pdk_4_4 {

// The name of an element.
class CFiXmlElement {
 public:
  consteval explicit CFiXmlElement(std::string_view name) : m_name(name) {}

  std::string_view name() const { return m_name; }

  // True when the reader's name is this one.
  bool is(const XMLCh* qname) const {
    if (qname == nullptr) return false;
    for (const char c : m_name) {
      if (*qname++ != static_cast<XMLCh>(c)) return false;
    }
    return *qname == 0;
  }

 private:
  std::string_view m_name;
};

// A copy of a text; throws std::bad_alloc where tstr itself would only stay empty.
inline tstr checkedText(std::string_view text) {
  tstr copy(text.data(), text.size());
  if (copy.length() != text.size()) throw std::bad_alloc();
  return copy;
}

// Builds the text of a document: block tags alone on their lines, leaf elements one line each.
class CFiXmlWriter {
 public:
  explicit CFiXmlWriter(size_t expectedSize = 0) { m_text.reserve(expectedSize); }

  void declaration() { m_text += "<?xml version=\"1.0\" standalone=\"yes\" ?>\n"; }
  void open(const CFiXmlElement& element) { tag("<", element, ">\n"); }
  void close(const CFiXmlElement& element) { tag("</", element, ">\n"); }
  // A leaf element; the value is escaped.
  void leaf(const CFiXmlElement& element, std::string_view value) {
    tag("\t<", element, ">");
    appendXmlEscaped(m_text, value);
    close(element);
  }
  // A leaf element for each value.
  template <typename List>
  void leaves(const CFiXmlElement& element, const List& values) {
    for (const std::string& value : values) leaf(element, value);
  }

  tstr text() const { return checkedText(m_text); }

 private:
  void tag(std::string_view before, const CFiXmlElement& element, std::string_view after) {
    m_text.append(before).append(element.name()).append(after);
  }

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
  tstr written = writer.text();
  text.swap(written);
}

}  // namespace orca_pdk_4_4

#endif
