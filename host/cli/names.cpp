#include "cli/names.h"

#include <fiutil.h>

#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>

namespace fihost {

namespace {

struct Name {
  long number;
  const char* name;
};

constexpr Name kResults[] = {
    {0, "success"},
    {1, "yes"},
    {2, "claimed as secondary"},
    {3, "invalid or missing argument, no private data, or an invalid document"},
    {4, "operation not supported by this provider"},
    {5, "out of memory"},
    {6, "operation failed"},
    {18, "device cannot be queried"},
    {26, "file cannot be opened"},
    {31, "no credentials"},
    {1091, "owner of a device cannot be changed"},
};

constexpr Name kClaims[] = {
    {PYX_CLAIM_NONE, "not claimed"},
    {PYX_CLAIM_PRIMARY, "claimed"},
    {PYX_CLAIM_SECONDARY, "claimed as secondary"},
};

constexpr Name kInterposed[] = {{0, "not interposed"}, {1, "interposed"}};
constexpr Name kStatuses[] = {{0, "absent"}, {1, "failed"}, {8, "ready"}};

template <std::size_t N>
const char* find(const Name (&names)[N], long number) {
  for (const Name& entry : names) {
    if (entry.number == number) return entry.name;
  }
  return nullptr;
}

// The name of an answer that an operation has of its own.
const char* findOwn(std::string_view operation, int code) {
  if (operation == "claim") return find(kClaims, code);
  return operation == "interpose" ? find(kInterposed, code) : nullptr;
}

}  // namespace

std::string meaningOf(std::string_view operation, int code) {
  const char* name = findOwn(operation, code);
  if (name == nullptr) name = find(kResults, code);
  return name == nullptr ? "code without a known meaning" : name;
}

bool isGood(std::string_view operation, int code) {
  return code == 0 || findOwn(operation, code) != nullptr;
}

std::string statusName(long status) {
  const char* name = find(kStatuses, status);
  return name == nullptr ? std::to_string(status) : name;
}

std::string printable(std::string_view text) {
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
