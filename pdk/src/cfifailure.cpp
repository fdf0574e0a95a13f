#include "cfifailure.h"

#include <utility>

namespace orca_pdk_4_4 {

CFiArgument::CFiArgument(std::string text) : m_text(std::move(text)) {}

CFiArgument::CFiArgument(const char* text) : m_text(text != nullptr ? text : "") {}

CFiArgument::CFiArgument(const tstr& text) : m_text(text.c_str(), text.length()) {}

CFiArgument::CFiArgument(const std::filesystem::path& path) : m_text(path.native()) {}

}  // namespace orca_pdk_4_4
