#include "cficonfig.h"

#include <iterator>

#include "cficonfigelements.h"
#include "cficonfighandler.h"
#include "cfistringtool.h"
#include "cfivaluedocument.h"

namespace orca_pdk_4_4 {
namespace {

// The name of an enumeration value; the last name stands for all values beyond the table.
template <size_t count>
std::string nameOf(const std::string_view (&names)[count], int32_t value) {
  const bool known = value >= 0 && static_cast<size_t>(value) < count;
  return std::string(names[known ? static_cast<size_t>(value) : count - 1]);
}

void writeRange(CFiXmlWriter& writer, const CFiConfigParamInfo& info) {
  const bool isNumber = info.dataType == FI_DATATYPE_INT || info.dataType == FI_DATATYPE_INT_LIST;
  const bool isAbsent = info.rangeMin == -1 && info.rangeMax == -1;
  if (!isNumber || isAbsent) return;
  writer.open(kDataRangeElement);
  writer.leaf(kRangeMinElement, CFiStringTool::int2str(info.rangeMin));
  writer.leaf(kRangeMaxElement, CFiStringTool::int2str(info.rangeMax));
  writer.close(kDataRangeElement);
}

void writeSelection(CFiXmlWriter& writer, const CFiConfigParamInfo& info) {
  if (info.dataType != FI_DATATYPE_STRING_LIST) return;
  writer.open(kSelectionListElement);
  writer.leaves(kSelectionItemElement, info.selectionList);
  writer.close(kSelectionListElement);
}

void writeInfo(CFiXmlWriter& writer, const CFiConfigParamInfo& info) {
  writer.open(kParamElement);
  writer.leaf(kKeyElement, info.key);
  writer.leaf(kUsageTypeElement, nameOf(kUsageTypeNames, info.usageType));
  writer.leaf(kMessageIdElement, info.messageId);
  writer.leaf(kIsSharedParamElement, CFiStringTool::bool2str(info.isSharedParam));
  writer.leaf(kDataTypeElement, nameOf(kDataTypeNames, info.dataType));
  writeRange(writer, info);
  writeSelection(writer, info);
  writer.leaf(kDefaultValueElement, info.defaultValue);
  writer.close(kParamElement);
}

}  // namespace

tstr CFiConfigParamInfo::toXML() const {
  CFiXmlWriter writer;
  writeInfo(writer, *this);
  return makeTstr(writer.text());
}

tstr CFiConfigParamData::toXML() const { return valueText(kConfigValueDocument, *this); }

CFiConfigParamDataList::CFiConfigParamDataList(const char* xml) { parse(xml); }

int CFiConfigParamDataList::parse(const char* xml) {
  return readValues<CFiConfigParamDataListHandler>(kConfigValueDocument, xml, m_xml, params);
}

void CFiConfigParamDataList::updateXML() { updateValues(kConfigValueDocument, params, m_xml); }

void CFiConfigParamDataList::swap(CFiConfigParamDataList& other) noexcept {
  params.swap(other.params);
  m_xml.swap(other.m_xml);
}

const tstr& CFiConfigParamDataList::getXML() const { return m_xml; }

CFiConfigParamData& CFiConfigParamDataList::getParamData(const char* key) {
  return findValue(params, key, m_empty);
}

CFiConfigParamInfoList::CFiConfigParamInfoList(const char* xml) { parse(xml); }

// Descriptions come from the provider, never from outside: the text is not read, so it cannot be in
// error either.
int CFiConfigParamInfoList::parse(const char*) {
  params.clear();
  updateXML();
  return FI_OK;
}

void CFiConfigParamInfoList::updateXML() {
  writeDocument(m_xml, kParamListElement, params, writeInfo);
}

const tstr& CFiConfigParamInfoList::getXML() const { return m_xml; }

CFiConfigParamInfo& CFiConfigParamInfoList::getParamInfo(const char* key) {
  return findValue(params, key, m_empty);
}

CFiConfigParamDataList CFiConfigParamInfoList::getDefaultDataList() const {
  CFiConfigParamDataList list;
  for (const auto& [key, info] : params) {
    CFiConfigParamData& data = list.params.try_emplace(list.params.end(), key)->second;
    data.key = info.key;
    data.value = info.defaultValue;
  }
  list.updateXML();
  return list;
}

}  // namespace orca_pdk_4_4
