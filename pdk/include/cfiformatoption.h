#ifndef ORCA_PDK_CFIFORMATOPTION_H
#define ORCA_PDK_CFIFORMATOPTION_H

#include <map>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// One option of a request to format a resource. It is list-valued exactly when valueList is not
// empty.
struct ORCA_PDK_API CFiFormatOption {
  // The option's block of the document. A value list hides the single value.
  tstr toXML() const;

  std::string key;                     // the option's name
  std::string value;                   // the value of a single-valued option
  std::vector<std::string> valueList;  // the values of a list-valued option, in order
};

// Format options by key, with their document text beside them. options may be changed freely;
// updateXML then brings the text in step. The text holds what XML can: control characters, U+FFFE,
// U+FFFF and invalid UTF-8 make it a document in error, and a carriage return reads back as a line
// feed.
class ORCA_PDK_API CFiFormatOptionList {
 public:
  CFiFormatOptionList() = default;
  // An empty list that parses the text.
  explicit CFiFormatOptionList(const char* xml);

  // Replaces the options by those of a document and rewrites the text; returns 0. A document in
  // error returns 3: the options stay, the text is then the one given (null counts as empty).
  // Throws nothing but std::bad_alloc, and then both are what they were.
  int parse(const char* xml);
  // Rewrites the text from the options.
  void updateXML();
  // The document text; empty until parse or updateXML was called.
  const tstr& getXML() const;
  // The option of a key, or an empty one that the list holds when there is none, valid until the
  // next look-up; the map never grows. Null counts as the empty key.
  CFiFormatOption& getParamData(const char* key);

  std::map<std::string, CFiFormatOption> options;

 private:
  CFiFormatOption m_empty;
  tstr m_xml;
};

}  // namespace orca_pdk_4_4

#endif
