#ifndef ORCA_PDK_CFIVALUEDOCUMENT_H
#define ORCA_PDK_CFIVALUEDOCUMENT_H

#include <map>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <xercesc/util/XercesDefs.hpp>

#include "cfisaxparser.h"
#include "cfitypes.h"
#include "cfixmlwriter.h"

// What documents of keyed values have in common. Parameter values and format options differ in the
// names of two elements only.

namespace orca_pdk_4_4 {

// The element names of such a document.
struct CFiValueDocument {
  CFiXmlElement list;
  CFiXmlElement entry;
};

inline constexpr CFiValueDocument kConfigValueDocument{CFiXmlElement("ConfigValueList"),
                                                       CFiXmlElement("ConfigValue")};
inline constexpr CFiValueDocument kFormatOptionDocument{CFiXmlElement("FormatOptionValueList"),
                                                        CFiXmlElement("FormatOptionValue")};

inline constexpr CFiXmlElement kDataTypeElement("dataType");
inline constexpr CFiXmlElement kKeyElement("key");
inline constexpr CFiXmlElement kValueElement("value");
inline constexpr CFiXmlElement kValueListElement("valueList");

// Writes the block of one entry. The type is not recorded; its element is written all the same.
template <typename Entry>
void writeValue(CFiXmlWriter& writer, const CFiValueDocument& names, const Entry& entry) {
  writer.open(names.entry);
  writer.leaf(kDataTypeElement, {});
  writer.leaf(kKeyElement, entry.key);
  if (entry.valueList.empty()) {
    writer.leaf(kValueElement, entry.value);
  } else {
    writer.open(kValueListElement);
    writer.leaves(kValueElement, entry.valueList);
    writer.close(kValueListElement);
  }
  writer.close(names.entry);
}

// The block of one entry as a text of its own.
template <typename Entry>
tstr valueText(const CFiValueDocument& names, const Entry& entry) {
  CFiXmlWriter writer;
  writeValue(writer, names, entry);
  return makeTstr(writer.text());
}

// Rewrites the text of a list from its entries.
template <typename Map>
void updateValues(const CFiValueDocument& names, const Map& entries, tstr& xml) {
  writeDocument(xml, names.list, entries,
                [&](CFiXmlWriter& writer, const auto& entry) { writeValue(writer, names, entry); });
}

// What a handler has read so far; refers to the fields of the handler.
template <typename Entry>
struct CFiValueReading {
  std::map<std::string, Entry>& entries;
  Entry& current;
  bool& inValueList;
  bool& finished;

  void start(const XMLCh* element) {
    if (kValueListElement.is(element)) inValueList = true;
  }

  // text() gives the text of the element.
  template <typename Text>
  void end(const CFiValueDocument& names, const XMLCh* element, Text text) {
    if (kValueElement.is(element)) {
      storeValue(text());
    } else if (kKeyElement.is(element)) {
      current.key = text();
    } else if (names.entry.is(element)) {
      storeEntry();
    } else if (kValueListElement.is(element)) {
      inValueList = false;
    } else if (names.list.is(element)) {
      finished = true;
    }
  }

 private:
  void storeValue(std::string text) {
    if (inValueList) {
      current.valueList.push_back(std::move(text));
    } else {
      current.value = std::move(text);
    }
  }

  // Documents of the kit are in ascending order, so the end is where the entry most likely belongs.
  void storeEntry() {
    Entry& stored = entries.try_emplace(entries.end(), current.key)->second;
    stored.key = std::exchange(current.key, {});
    stored.value = std::exchange(current.value, {});
    stored.valueList = std::exchange(current.valueList, {});
  }
};

// Replaces the entries of a list by what Handler reads in xml (null counts as empty), and its text
// by theirs. 3 when the document is in error, for whatever reason the reader gives; the text is
// then xml, the entries stay. Changes nothing when it throws std::bad_alloc.
template <typename Handler, typename Map>
int readValues(const CFiValueDocument& names, const char* xml, tstr& listXml, Map& entries) {
  const std::string_view document(xml == nullptr ? "" : xml);
  try {
    Handler handler;
    CFiSaxParser(&handler).parse(document.data(), document.size());
    Map& read = handler.getList();
    updateValues(names, read, listXml);
    entries.swap(read);
    return FI_OK;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    tstr text;  // the document may stand in the text that goes
    assignTstr(text, document);
    listXml.swap(text);
    return FI_INVALID;
  }
}

// The entry of a key (null counts as empty), or the one for unknown keys, which is made empty anew
// in case a caller has written to it.
template <typename Map, typename Entry>
Entry& findValue(Map& entries, const char* key, Entry& unknown) {
  const auto found = entries.find(key == nullptr ? "" : key);
  if (found != entries.end()) return found->second;
  unknown = Entry();
  return unknown;
}

}  // namespace orca_pdk_4_4

#endif
