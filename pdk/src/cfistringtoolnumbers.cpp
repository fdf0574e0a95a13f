#include <V_strings.h>

#include <cstdlib>

#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kDecimal = 10;

}  // namespace

std::string CFiStringTool::int2str(int value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%d", value);
  return digits;
}

std::string CFiStringTool::int2str(long value) {
  char digits[128];
  V_snprintf(digits, sizeof digits, "%ld", value);
  return digits;
}

std::string CFiStringTool::uint2str(unsigned int value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%u", value);
  return digits;
}

std::string CFiStringTool::uint2str(unsigned long value) {
  char digits[128];
  V_snprintf(digits, sizeof digits, "%lu", value);
  return digits;
}

std::string CFiStringTool::double2str(double value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%g", value);
  return digits;
}

std::string CFiStringTool::float2str(float value) {
  char digits[64];
  V_snprintf(digits, sizeof digits, "%f", static_cast<double>(value));
  return digits;
}

std::wstring CFiStringTool::int2wstr(int value) { return str2wstr(int2str(value)); }

std::wstring CFiStringTool::int2wstr(long value) { return str2wstr(int2str(value)); }

std::wstring CFiStringTool::uint2wstr(unsigned int value) { return str2wstr(uint2str(value)); }

std::wstring CFiStringTool::uint2wstr(unsigned long value) { return str2wstr(uint2str(value)); }

std::string CFiStringTool::bool2str(bool value) { return value ? "true" : "false"; }

int CFiStringTool::str2int(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, kDecimal));
}

void CFiStringTool::str2int(const std::string& text, int& value) { value = str2int(text); }

unsigned int CFiStringTool::str2uint(const std::string& text) {
  return static_cast<unsigned int>(std::strtoul(text.c_str(), nullptr, kDecimal));
}

void CFiStringTool::str2uint(const std::string& text, unsigned int& value) {
  value = str2uint(text);
}

void CFiStringTool::str2uint64(const std::string& text, unsigned long& value) {
  value = std::strtoull(text.c_str(), nullptr, kDecimal);
}

double CFiStringTool::str2double(const std::string& text) {
  return std::strtod(text.c_str(), nullptr);
}

void CFiStringTool::str2double(const std::string& text, double& value) { value = str2double(text); }

}  // namespace orca_pdk_4_4
