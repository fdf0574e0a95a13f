#ifndef ORCA_PDK_CFIXMLWRITER_H
#define ORCA_PDK_CFIXMLWRITER_H

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
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

  // Write a tag, the closing one with a line feed, into kRoom bytes; return its end.
  char* writeOpen(char* out) const { return write(out, m_open) + m_length + 2; }
  char* writeClose(char* out) const { return write(out, m_close) + m_length + 4; }

  // True when the reader's name is this one.
  bool is(const XMLCh* qname) const {
    if (qname == nullptr) return false;
    for (size_t i = 0; i < m_length; ++i) {
      if (qname[i] != static_cast<XMLCh>(m_open[i + 1])) return false;
    }
    return qname[m_length] == 0;
  }

  static constexpr size_t kRoom = 32;

 private:
  static char* write(char* out, const char (&tag)[kRoom]) {
    return static_cast<char*>(std::memcpy(out, tag, kRoom));
  }

  size_t m_length;
  char m_open[kRoom] = {};
  char m_close[kRoom] = {};
};

// Builds the text of a document: block tags alone on their lines, leaf elements one line each.
class CFiXmlWriter {
 public:
  explicit CFiXmlWriter(size_t expectedSize = 0) { grow(expectedSize + xmlEscapedRoom(kPiece)); }

  void declaration() {
    static constexpr std::string_view kText = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n";
    m_end = std::copy(kText.begin(), kText.end(), room(kText.size()));
  }
  void open(const CFiXmlElement& element) {
    m_end = element.writeOpen(room(CFiXmlElement::kRoom + 1));
    *m_end++ = '\n';
  }
  void close(const CFiXmlElement& element) {
    m_end = element.writeClose(room(CFiXmlElement::kRoom));
  }
  // A leaf element; the value is escaped.
  void leaf(const CFiXmlElement& element, std::string_view value) {
    *room(1 + CFiXmlElement::kRoom) = '\t';
    m_end = element.writeOpen(m_end + 1);
    for (; !value.empty(); value.remove_prefix(std::min(value.size(), kPiece))) {
      const std::string_view piece = value.substr(0, kPiece);
      m_end = writeXmlEscaped(room(xmlEscapedRoom(piece.size())), piece);
    }
    close(element);
  }
  // A leaf element for each value.
  template <typename List>
  void leaves(const CFiXmlElement& element, const List& values) {
    for (const std::string& value : values) leaf(element, value);
  }

  tstr text() const { return tstr(m_text.get(), length()); }
  // Puts the text into a string without a copy in between.
  void storeIn(tstr& target) const { target.set(m_text.get(), length(), true); }

 private:
  static constexpr size_t kPiece = 4096;

  size_t length() const { return static_cast<size_t>(m_end - m_text.get()); }
  // Where the next bytes go, with room for so many.
  char* room(size_t size) {
    if (static_cast<size_t>(m_limit - m_end) < size) grow(2 * length() + size);
    return m_end;
  }
  void grow(size_t size) {
    auto text = std::make_unique_for_overwrite<char[]>(size);
    m_limit = text.get() + size;
    m_end = std::copy(m_text.get(), m_end, text.get());
    m_text = std::move(text);
  }

  std::unique_ptr<char[]> m_text;
  char* m_end = nullptr;
  char* m_limit = nullptr;
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
