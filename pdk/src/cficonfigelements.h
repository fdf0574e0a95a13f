#ifndef ORCA_PDK_CFICONFIGELEMENTS_H
#define ORCA_PDK_CFICONFIGELEMENTS_H

#include <string_view>

#include "cfixmlwriter.h"

// Names in the document of parameter descriptions.

namespace orca_pdk_4_4 {

inline constexpr CFiXmlElement kParamListElement("ConfigParamList");
inline constexpr CFiXmlElement kParamElement("ConfigParam");
inline constexpr CFiXmlElement kUsageTypeElement("usageType");
inline constexpr CFiXmlElement kMessageIdElement("messageId");
inline constexpr CFiXmlElement kIsSharedParamElement("isSharedParam");
inline constexpr CFiXmlElement kDataRangeElement("dataRange");
inline constexpr CFiXmlElement kRangeMinElement("rangeMin");
inline constexpr CFiXmlElement kRangeMaxElement("rangeMax");
inline constexpr CFiXmlElement kSelectionListElement("selectionList");
inline constexpr CFiXmlElement kSelectionItemElement("selectionItem");
inline constexpr CFiXmlElement kDefaultValueElement("defaultValue");

// By usage type and by data type; every other number is the unknown one.
inline constexpr std::string_view kUsageTypeNames[] = {"SELECT", "AUTO", "NO_MODIFY", "UNKNOWN"};
inline constexpr std::string_view kDataTypeNames[] = {
    "string", "int", "boolean", "string_list", "int_list", "boolean_list", "unknown"};

}  // namespace orca_pdk_4_4

#endif
