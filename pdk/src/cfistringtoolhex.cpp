#include <V_strings.h>

#include <cstddef>
#include <cstdlib>
#include <cwchar>

#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kHexadecimal = 16;
constexpr int kByteDigits = 2;

void appendHex(std::string& digits, unsigned int value) {
  char piece[64];
  V_snprintf(piece, sizeof piece, "%02x", value);
  digits += piece;
}

// What every unique id starts with.
std::string uidPrefix(unsigned int prefix) {
  char uid[64];
  V_snprintf(uid, sizeof uid, "%04x", prefix);
  return uid;
}

long parseHex(const char* piece) { return std::strtol(piece, nullptr, kHexadecimal); }
long parseHex(const wchar_t* piece) { return std::wcstol(piece, nullptr, kHexadecimal); }

template <class Text>
void parseBytes(unsigned char* bytes, int* count, const Text& text) {
  const std::size_t pieces = bytes == nullptr ? 0 : text.size() / kByteDigits;
  for (std::size_t i = 0; i < pieces; ++i) {
    const typename Text::value_type piece[] = {text[i * kByteDigits], text[i * kByteDigits + 1], 0};
    bytes[i] = static_cast<unsigned char>(parseHex(piece));
  }
  if (count != nullptr) *count = static_cast<int>(pieces);
}

}  // namespace

std::string CFiStringTool::binary2str(const unsigned char* bytes, unsigned int count) {
  std::string digits;
  if (bytes == nullptr) return digits;
  digits.reserve(std::size_t{count} * kByteDigits);
  for (unsigned int i = 0; i < count; ++i) appendHex(digits, bytes[i]);
  return digits;
}

std::wstring CFiStringTool::binary2wstr(const unsigned char* bytes, unsigned int count) {
  return str2wstr(binary2str(bytes, count));
}

void CFiStringTool::str2binary(unsigned char* bytes, int* count, const std::string& text) {
  parseBytes(bytes, count, text);
}

void CFiStringTool::wstr2binary(unsigned char* bytes, int* count, const std::wstring& text,
                                bool /*flag*/) {
  parseBytes(bytes, count, text);
}

std::string CFiStringTool::str2uid(unsigned int prefix, const std::string& text) {
  std::string uid = uidPrefix(prefix);
  for (const char character : text) {
    const auto value = static_cast<signed char>(character);
    appendHex(uid, static_cast<unsigned int>(value));
  }
  return uid;
}

std::string CFiStringTool::binary2uid(unsigned int prefix, const unsigned char* bytes,
                                      unsigned int count) {
  return uidPrefix(prefix) + binary2str(bytes, count);
}

std::string CFiStringTool::wstr2uid(unsigned int prefix, const std::wstring& text) {
  const std::string bytes = wstr2str(text);
  return binary2uid(prefix, reinterpret_cast<const unsigned char*>(bytes.data()),
                    static_cast<unsigned int>(bytes.size()));
}

}  // namespace orca_pdk_4_4
