#include "cli/text.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace fihost {

namespace {

// The bytes that a character of UTF-8 with this first one has; 0 for none.
std::size_t lengthBy(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xc2 || first > 0xf4) return 0;
  return first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
}

// Controls, marks that turn the direction of text, and other breaks of a line.
bool isHidden(char32_t c) {
  constexpr std::pair<char32_t, char32_t> kHidden[] = {
      {0, 0x1f},        {0x7f, 0x9f},     {0x61c, 0x61c},   {0x200e, 0x200f},
      {0x2028, 0x202e}, {0x2066, 0x2069}, {0xd800, 0xdfff}, {0xfeff, 0xfeff}};
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [c](const auto& range) { return range.first <= c && c <= range.second; });
}

}  // namespace

Character characterAt(const std::string& text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const std::size_t size = lengthBy(byte(0));
  if (size == 0 || size > text.size() - at) return {1, false};
  char32_t c = size == 1 ? byte(0) : byte(0) & (0x7fU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xc0U) != 0x80) return {1, false};
    c = (c << 6U) | (byte(i) & 0x3fU);
  }
  return {size, !isHidden(c)};
}

std::string bytesAsDigits(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<std::uint8_t>(c);
    text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

std::string printable(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    const std::string bytes = text.substr(i, character.size);
    const bool isBlank = bytes == "\n" || bytes == "\t" || bytes == "\r";
    result += isBlank ? " " : character.isVisible ? bytes : bytesAsDigits(bytes);
    i += character.size;
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
