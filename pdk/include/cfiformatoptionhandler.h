#ifndef ORCA_PDK_CFIFORMATOPTIONHANDLER_H
#define ORCA_PDK_CFIFORMATOPTIONHANDLER_H

#include <map>
#include <string>

#include "cfiexport.h"
#include "cfiformatoption.h"
#include "cfisaxhandler.h"

namespace orca_pdk_4_4 {

// Reads a document of format options. Elements count wherever they stand; unknown ones are ignored,
// and texts are taken with their white space.
class ORCA_PDK_API CFiFormatOptionListHandler : public CFiSaxParseHandler {
 public:
  using Map = std::map<std::string, CFiFormatOption>;

  CFiFormatOptionListHandler();
  ~CFiFormatOptionListHandler() override;

  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;

  // True once the document's element has ended.
  bool isFinished() const;
  // The options read; owned by the handler. Throws a SAXParseException when the reader reported a
  // warning or an error.
  Map& getList();

 private:
  Map m_list;
  CFiFormatOption m_current;
  bool m_inValueList = false;
  bool m_finished = false;
};

}  // namespace orca_pdk_4_4

#endif
