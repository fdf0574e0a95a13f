#include "cfistoragestacktool.h"

#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace orca_pdk_4_4 {

namespace {

constexpr std::string_view kDevPrefix = "/dev/";
constexpr std::string_view kEmcpower = "emcpower";
constexpr size_t kShortestDiskName = 6;

struct PrefixRule {
  std::string_view from;
  std::string_view to;
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// The number of characters of the slice ("s2" or "s15") at the end of a name, 0 when there is none.
size_t sliceLength(const std::string& name) {
  const size_t length = name.size();
  if (length < kShortestDiskName || !isDigit(name[length - 1])) return 0;
  if (name[length - 2] == 's') return 2;
  return name[length - 3] == 's' && isDigit(name[length - 2]) ? 3 : 0;
}

// True when all characters between the "c" and the first "t" are digits, one at least.
bool hasController(const std::string& name) {
  const size_t target = name.find('t');
  if (name[0] != 'c' || target == std::string::npos || target < 2) return false;
  for (size_t i = 1; i < target; ++i) {
    if (!isDigit(name[i])) return false;
  }
  return true;
}

// True when the name up to the index ends in "d" and at least one digit.
bool endsInDisk(const std::string& name, size_t last) {
  size_t i = last;
  while (i > 1 && isDigit(name[i])) --i;
  return i < last && name[i] == 'd';
}

// The first rule whose prefix matches decides; without one, out is left alone.
void applyFirst(std::initializer_list<PrefixRule> rules, const std::string& in, std::string& out) {
  for (const PrefixRule& rule : rules) {
    if (!startsWith(in, rule.from)) continue;
    out = std::string(rule.to) + in.substr(rule.from.size());
    return;
  }
}

}  // namespace

bool CFiStoragestackTool::isCTDDiskFormat(std::string name) {
  return name.size() >= kShortestDiskName && hasController(name) &&
         endsInDisk(name, name.size() - 1 - sliceLength(name));
}

bool CFiStoragestackTool::isCTDSDiskFormat(std::string name) {
  return sliceLength(name) != 0 && isCTDDiskFormat(name);
}

void CFiStoragestackTool::removeDevPrefix(std::string& name) {
  if (startsWith(name, kDevPrefix)) name.erase(0, kDevPrefix.size());
}

std::string CFiStoragestackTool::makeCompleteDevName(std::string const& name) {
  return std::string(kDevPrefix) + name;
}

// "/dev/" is tried first, which leaves nothing to the rules after it, here and below.
void CFiStoragestackTool::makeRawToBlockPath(std::string const& in, std::string& out) {
  applyFirst({{kDevPrefix, kDevPrefix},
              {"/dev/qv/rdsk/", "/dev/qv/dsk/"},
              {"/dev/qv/rdmp/", "/dev/qv/dmp/"}},
             in, out);
}

void CFiStoragestackTool::makeBlockToRawPath(std::string const& in, std::string& out) {
  applyFirst({{kDevPrefix, kDevPrefix},
              {"/dev/qv/dsk/", "/dev/qv/dsk/"},
              {"/dev/qv/dmp/", "/dev/qv/rdmp/"}},
             in, out);
}

bool CFiStoragestackTool::isEmcpowerDiskFormat(std::string name) {
  const size_t found = name.find(kEmcpower);
  if (found == std::string::npos) return false;
  const size_t behind = found + kEmcpower.size();
  return behind < name.size() && isDigit(name[behind]);
}

bool CFiStoragestackTool::isEmcpowerRawpFormat(std::string name) {
  return isEmcpowerDiskFormat(name) && name.back() >= 'a' && name.back() <= 'h';
}

std::string CFiStoragestackTool::addDiskSliceToDisk(std::string name) { return name; }

}  // namespace orca_pdk_4_4
