#ifndef ORCA_PDK_CFICONFIG_H
#define ORCA_PDK_CFICONFIG_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Data type of a configuration parameter.
enum EFiConfigDataType : int32_t {
  FI_DATATYPE_STRING = 0,
  FI_DATATYPE_INT = 1,
  FI_DATATYPE_BOOLEAN = 2,
  FI_DATATYPE_STRING_LIST = 3,
  FI_DATATYPE_INT_LIST = 4,
  FI_DATATYPE_BOOLEAN_LIST = 5,
  FI_DATATYPE_UNKNOWN = 6
};

// How the user may set a configuration parameter.
enum EFiConfigUsageType : int32_t {
  FI_USAGE_SELECT = 0,
  FI_USAGE_AUTO = 1,
  FI_USAGE_NO_MODIFY = 2,
  FI_USAGE_UNKNOWN = 3
};

// The description of one configuration parameter.
struct ORCA_PDK_API CFiConfigParamInfo {
  // The description's block of the document. The range is written for the two int types unless both
  // bounds are -1, the selection list for string_list only, even when it is empty.
  tstr toXML() const;

  std::string key;        // the parameter's name
  std::string messageId;  // id of the message that names the parameter to the user
  int32_t dataType = FI_DATATYPE_UNKNOWN;
  int32_t usageType = FI_USAGE_UNKNOWN;
  bool isSharedParam = false;              // shared, not per node
  std::vector<std::string> selectionList;  // the choices
  std::string defaultValue;                // the default, as text
  int32_t rangeMin = -1;                   // bounds of an integer; both -1: no range
  int32_t rangeMax = -1;
};

// The value of one configuration parameter. It is list-valued exactly when valueList is not empty.
struct ORCA_PDK_API CFiConfigParamData {
  // The value's block of the document. A value list hides the single value.
  tstr toXML() const;

  std::string key;                     // the parameter's name
  std::string value;                   // the value of a single-valued parameter
  std::vector<std::string> valueList;  // the values of a list-valued parameter, in order
  tstr dataType;                       // always empty, never written out
};

// The values of configuration parameters by key, with their document text beside them. params may
// be changed freely; updateXML then brings the text in step, or throws std::bad_alloc and leaves
// it.
class ORCA_PDK_API CFiConfigParamDataList {
 public:
  CFiConfigParamDataList() = default;
  // An empty list that parses the text.
  explicit CFiConfigParamDataList(const char* xml);

  // Replaces the values by those of a document and rewrites the text; returns 0. A document in
  // error returns 3: the values stay, the text is then the one given (null counts as empty).
  // Throws nothing but std::bad_alloc, and then both are what they were.
  int parse(const char* xml);
  // Rewrites the text from the values.
  void updateXML();
  // Exchanges values and text with another list. Throws nothing.
  void swap(CFiConfigParamDataList& other) noexcept;
  // The document text; empty until parse or updateXML was called.
  const tstr& getXML() const;
  // The value of a key, or an empty one that the list holds when there is none, valid until the
  // next look-up; the map never grows. Null counts as the empty key.
  CFiConfigParamData& getParamData(const char* key);

  std::map<std::string, CFiConfigParamData> params;

 private:
  CFiConfigParamData m_empty;
  tstr m_xml;
};

// The descriptions of configuration parameters by key, with their document text beside them. params
// may be changed freely; updateXML then brings the text in step.
class ORCA_PDK_API CFiConfigParamInfoList {
 public:
  CFiConfigParamInfoList() = default;
  // As the default constructor followed by parse.
  explicit CFiConfigParamInfoList(const char* xml);

  // Empties the list, whatever the text: descriptions enter it through params only. The text
  // becomes the empty document. Returns 0. CFiGetConfigParamListHandler reads a document of
  // descriptions.
  int parse(const char* xml);
  // Rewrites the text from the descriptions.
  void updateXML();
  // The document text; empty until parse or updateXML was called.
  const tstr& getXML() const;
  // The description of a key, or an empty one that the list holds when there is none, valid until
  // the next look-up; the map never grows. Null counts as the empty key.
  CFiConfigParamInfo& getParamInfo(const char* key);
  // A value list that holds each description's default as a single value, its text written.
  CFiConfigParamDataList getDefaultDataList() const;

  std::map<std::string, CFiConfigParamInfo> params;

 private:
  CFiConfigParamInfo m_empty;
  tstr m_xml;
};

}  // namespace orca_pdk_4_4

#endif
