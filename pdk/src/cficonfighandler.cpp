#include "cficonfighandler.h"

#include <algorithm>
#include <iterator>

#include "cficonfigelements.h"
#include "cfistringtool.h"
#include "cfivaluedocument.h"

namespace orca_pdk_4_4 {
namespace {

// The position of a name in its table; the last one stands for texts that are not there.
template <size_t count>
int32_t valueOf(const std::string_view (&names)[count], const std::string& text) {
  const auto last = std::end(names) - 1;
  return static_cast<int32_t>(std::find(std::begin(names), last, text) - std::begin(names));
}

bool isTrue(const std::string& text) { return text == "true" || text == "yes" || text == "1"; }

struct InfoElement {
  const CFiXmlElement& element;
  void (*store)(CFiConfigParamInfo& info, const std::string& text);
};

using Info = CFiConfigParamInfo;
using Text = std::string;

constexpr InfoElement kInfoElements[] = {
    {kKeyElement, [](Info& info, const Text& text) { info.key = text; }},
    {kUsageTypeElement,
     [](Info& info, const Text& text) { info.usageType = valueOf(kUsageTypeNames, text); }},
    {kMessageIdElement, [](Info& info, const Text& text) { info.messageId = text; }},
    {kIsSharedParamElement,
     [](Info& info, const Text& text) { info.isSharedParam = isTrue(text); }},
    {kDataTypeElement,
     [](Info& info, const Text& text) { info.dataType = valueOf(kDataTypeNames, text); }},
    {kRangeMinElement,
     [](Info& info, const Text& text) { info.rangeMin = CFiStringTool::str2int(text); }},
    {kRangeMaxElement,
     [](Info& info, const Text& text) { info.rangeMax = CFiStringTool::str2int(text); }},
    {kSelectionItemElement,
     [](Info& info, const Text& text) { info.selectionList.push_back(text); }},
    {kDefaultValueElement, [](Info& info, const Text& text) { info.defaultValue = text; }},
};

}  // namespace

CFiGetConfigParamListHandler::CFiGetConfigParamListHandler() = default;
CFiGetConfigParamListHandler::~CFiGetConfigParamListHandler() = default;

void CFiGetConfigParamListHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                                                const xercesc::Attributes&) {
  clearText();
}

void CFiGetConfigParamListHandler::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) {
  if (kParamListElement.is(qname)) {
    m_finished = true;
  } else if (kParamElement.is(qname)) {
    endParam();
  } else {
    storeText(qname);
  }
}

void CFiGetConfigParamListHandler::endParam() {
  std::string key = m_current.key;
  m_list.params.insert_or_assign(m_list.params.end(), std::move(key), std::move(m_current));
  m_current = CFiConfigParamInfo();
  m_textOutdated = true;
}

void CFiGetConfigParamListHandler::storeText(const XMLCh* qname) {
  const auto element =
      std::find_if(std::begin(kInfoElements), std::end(kInfoElements),
                   [&](const InfoElement& known) { return known.element.is(qname); });
  if (element != std::end(kInfoElements)) element->store(m_current, text());
}

bool CFiGetConfigParamListHandler::isFinished() const { return m_finished; }

CFiConfigParamInfoList& CFiGetConfigParamListHandler::getList() {
  throwSavedError();
  if (m_textOutdated) m_list.updateXML();
  m_textOutdated = false;
  return m_list;
}

CFiConfigParamDataListHandler::CFiConfigParamDataListHandler() = default;
CFiConfigParamDataListHandler::~CFiConfigParamDataListHandler() = default;

void CFiConfigParamDataListHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                                                 const xercesc::Attributes&) {
  CFiValueReading<CFiConfigParamData>{m_list, m_current, m_inValueList, m_finished}.start(qname);
  clearText();
}

void CFiConfigParamDataListHandler::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) {
  CFiValueReading<CFiConfigParamData>{m_list, m_current, m_inValueList, m_finished}.end(
      kConfigValueDocument, qname, [this] { return text(); });
}

bool CFiConfigParamDataListHandler::isFinished() const { return m_finished; }

CFiConfigParamDataListHandler::Map& CFiConfigParamDataListHandler::getList() {
  throwSavedError();
  return m_list;
}

}  // namespace orca_pdk_4_4
