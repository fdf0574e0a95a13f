#include "cfiformatoption.h"

#include "cfiformatoptionhandler.h"
#include "cfivaluedocument.h"

namespace orca_pdk_4_4 {

tstr CFiFormatOption::toXML() const { return valueText(kFormatOptionDocument, *this); }

CFiFormatOptionList::CFiFormatOptionList(const char* xml) { parse(xml); }

int CFiFormatOptionList::parse(const char* xml) {
  return readValues<CFiFormatOptionListHandler>(kFormatOptionDocument, xml, m_xml, options);
}

void CFiFormatOptionList::updateXML() { updateValues(kFormatOptionDocument, options, m_xml); }

const tstr& CFiFormatOptionList::getXML() const { return m_xml; }

CFiFormatOption& CFiFormatOptionList::getParamData(const char* key) {
  return findValue(options, key, m_empty);
}

}  // namespace orca_pdk_4_4
