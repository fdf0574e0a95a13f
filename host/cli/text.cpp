#include "cli/text.h"

#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace fihost {

std::string printable(const std::string& text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (c == '\n' || c == '\t' || c == '\r') {
      result += ' ';
    } else if (byte < 0x20 || byte == 0x7f) {
      result += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    } else {
      result += c;
    }
  }
  result.erase(result.find_last_not_of(' ') + 1);
  return result;
}

std::string milliseconds(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::fixed << std::setprecision(1) << value;
  return out.str();
}

}  // namespace fihost
