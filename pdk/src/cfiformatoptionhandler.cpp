#include "cfiformatoptionhandler.h"

#include "cfivaluedocument.h"

namespace orca_pdk_4_4 {

CFiFormatOptionListHandler::CFiFormatOptionListHandler() = default;
CFiFormatOptionListHandler::~CFiFormatOptionListHandler() = default;

void CFiFormatOptionListHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                                              const xercesc::Attributes&) {
  CFiValueReading<CFiFormatOption>{m_list, m_current, m_inValueList, m_finished}.start(qname);
  clearText();
}

void CFiFormatOptionListHandler::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) {
  CFiValueReading<CFiFormatOption>{m_list, m_current, m_inValueList, m_finished}.end(
      kFormatOptionDocument, qname, [this] { return text(); });
}

bool CFiFormatOptionListHandler::isFinished() const { return m_finished; }

CFiFormatOptionListHandler::Map& CFiFormatOptionListHandler::getList() {
  throwSavedError();
  return m_list;
}

}  // namespace orca_pdk_4_4
