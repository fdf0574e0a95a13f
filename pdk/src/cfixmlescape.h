#ifndef ORCA_PDK_CFIXMLESCAPE_H
#define ORCA_PDK_CFIXMLESCAPE_H

#include <cstddef>
#include <string_view>

namespace orca_pdk_4_4 {

// The bytes that writeXmlEscaped may touch for a text of a size.
constexpr std::size_t xmlEscapedRoom(std::size_t size) { return 6 * size + 16; }

// Writes the text with its XML special characters escaped and returns the end of what was written;
// CFiStringTool offers the same as a conversion.
char* writeXmlEscaped(char* out, std::string_view text);

}  // namespace orca_pdk_4_4

#endif
