// Documents come from outside: any text must be read without a crash, a refused one must leave the
// list as it was, and what was read must keep within its bound and settle after one more round.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <xercesc/sax/SAXParseException.hpp>

#include "cficonfighandler.h"
#include "cfiformatoptionhandler.h"
#include "cfisaxparser.h"

using namespace orca_pdk_4_4;

namespace {

template <typename Map>
size_t sizeOf(const Map& entries) {
  size_t size = 0;
  for (const auto& [key, entry] : entries) {
    size += entry.key.size() + entry.value.size();
    for (const std::string& value : entry.valueList) size += value.size();
  }
  return size;
}

const auto& entriesOf(const CFiConfigParamDataList& list) { return list.params; }
const auto& entriesOf(const CFiFormatOptionList& list) { return list.options; }

// A character that XML cannot hold may enter a list through XML 1.1, so a second round may be
// refused.
template <typename List>
void checkList(const std::string& text) {
  List list;
  if (list.parse(text.c_str()) != 0) {
    if (list.getXML() != text.c_str()) std::abort();
    return;
  }
  if (sizeOf(entriesOf(list)) > 16 * (text.size() + (1 << 20))) std::abort();
  List second;
  if (second.parse(list.getXML().c_str()) != 0) return;
  List third(second.getXML().c_str());
  if (third.getXML() != second.getXML()) std::abort();
}

void readDescriptions(const std::string& text) {
  CFiGetConfigParamListHandler handler;
  CFiSaxParser(&handler).parse(text);
  try {
    handler.getList();
  } catch (const xercesc::SAXParseException&) {
    if (!handler.isErrorSeen()) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  checkList<CFiConfigParamDataList>(text);
  checkList<CFiFormatOptionList>(text);
  readDescriptions(text);
  return 0;
}
