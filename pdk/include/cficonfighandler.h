#ifndef ORCA_PDK_CFICONFIGHANDLER_H
#define ORCA_PDK_CFICONFIGHANDLER_H

#include <map>
#include <string>

#include "cficonfig.h"
#include "cfiexport.h"
#include "cfisaxhandler.h"

namespace orca_pdk_4_4 {

// Reads a document of parameter descriptions. Elements count wherever they stand; unknown ones are
// ignored, and texts are taken with their white space.
class ORCA_PDK_API CFiGetConfigParamListHandler : public CFiSaxParseHandler {
 public:
  CFiGetConfigParamListHandler();
  ~CFiGetConfigParamListHandler() override;

  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;

  // True once the document's element has ended.
  bool isFinished() const;
  // What was read, its text written; owned by the handler. Throws a SAXParseException when the
  // reader reported a warning or an error.
  CFiConfigParamInfoList& getList();

 private:
  void endParam();
  void storeText(const XMLCh* qname);

  CFiConfigParamInfoList m_list;
  CFiConfigParamInfo m_current;
  bool m_textOutdated = false;
  bool m_finished = false;
};

// Reads a document of parameter values; the same rules.
class ORCA_PDK_API CFiConfigParamDataListHandler : public CFiSaxParseHandler {
 public:
  using Map = std::map<std::string, CFiConfigParamData>;

  CFiConfigParamDataListHandler();
  ~CFiConfigParamDataListHandler() override;

  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;

  // True once the document's element has ended.
  bool isFinished() const;
  // The values read; owned by the handler. Throws a SAXParseException when the reader reported a
  // warning or an error.
  Map& getList();

 private:
  Map m_list;
  CFiConfigParamData m_current;
  bool m_inValueList = false;
  bool m_finished = false;
};

}  // namespace orca_pdk_4_4

#endif
