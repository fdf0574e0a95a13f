#ifndef ORCA_PDK_CFIXSTRINGTOOL_H
#define ORCA_PDK_CFIXSTRINGTOOL_H

#include <xercesc/util/XercesDefs.hpp>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// Between the XML reader's UTF-16 strings and 8-bit strings. Stateless.
class ORCA_PDK_API CFiXStringTool {
 public:
  // The text in UTF-16; the caller releases it with xercesc::XMLString::release. Null for null, and
  // when the XML reader's platform cannot be started. Throws std::bad_alloc.
  static XMLCh* unicodeForm(const char* text);
  // The text in UTF-8, made with malloc; the caller frees it with free. Null, and text that is no
  // valid UTF-16, give the empty string; a lack of memory gives null.
  static char* asciiForm(const XMLCh* text);
};

}  // namespace orca_pdk_4_4

#endif
