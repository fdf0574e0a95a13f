#ifndef ORCA_PDK_CFIXMLESCAPE_H
#define ORCA_PDK_CFIXMLESCAPE_H

#include <string>
#include <string_view>

namespace orca_pdk_4_4 {

// Appends the text with its XML special characters escaped; CFiStringTool offers the same as a
// conversion.
void appendXmlEscaped(std::string& out, std::string_view text);

}  // namespace orca_pdk_4_4

#endif
