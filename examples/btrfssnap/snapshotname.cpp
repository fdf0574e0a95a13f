#include "snapshotname.h"

#include <algorithm>

#include "common/names.h"
#include "subvolume.h"

namespace btrfssnap {

namespace {

constexpr std::size_t kRandomPart = 6;
constexpr char kTemporary[] = ".btrfssnap-tmp.";
constexpr char kReplaced[] = ".btrfssnap-replaced.";
constexpr char kWritable[] = ".rw";
constexpr char kHexadecimal[] = "0123456789abcdef";

bool isHexadecimal(const std::string& text, std::size_t length) {
  return text.size() == length && text.find_first_not_of(kHexadecimal) == std::string::npos;
}

}  // namespace

std::optional<SnapshotName> readName(const std::string& name) {
  if (name.starts_with(kReplaced)) return std::nullopt;
  SnapshotName snapshot;
  std::string rest = name;
  snapshot.isWritable = rest.ends_with(kWritable);
  if (snapshot.isWritable) rest.resize(rest.size() - (sizeof kWritable - 1));
  const std::size_t point = rest.rfind('.');
  if (point == std::string::npos || point == 0) return std::nullopt;
  snapshot.uuid = rest.substr(point + 1);
  return isHexadecimal(snapshot.uuid, kUuidLength) ? std::optional(snapshot) : std::nullopt;
}

std::string nameOf(const std::string& text, const SnapshotName& snapshot) {
  return text + "." + snapshot.uuid + (snapshot.isWritable ? kWritable : "");
}

std::string fillPattern(const std::string& pattern, const std::string& subvolume,
                        const std::string& session, std::time_t time) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char next = pattern[i] == '%' && i + 1 < pattern.size() ? pattern[i + 1] : '\0';
    const bool isKnown = next != '\0' && std::string("nst%").find(next) != std::string::npos;
    if (!isKnown) {
      text += pattern[i];
      continue;
    }
    ++i;
    text += next == 'n' ? subvolume : next == 's' ? session : next == 't' ? timeText(time) : "%";
  }
  std::replace(text.begin(), text.end(), '/', '_');  // a session's
  return shortened(text);
}

std::string temporaryName() { return kTemporary + randomText(kRandomPart); }

std::string replacedName(const std::string& uuid) {
  return kReplaced + randomText(kRandomPart) + "." + uuid;
}

bool isTemporaryName(const std::string& name) {
  return name.starts_with(kTemporary) &&
         isHexadecimal(name.substr(sizeof kTemporary - 1), kRandomPart);
}

bool isReplacedName(const std::string& name, const std::string& uuid) {
  return name.starts_with(kReplaced) && name.ends_with("." + uuid) &&
         isHexadecimal(name.substr(sizeof kReplaced - 1, kRandomPart), kRandomPart) &&
         name.size() == sizeof kReplaced - 1 + kRandomPart + 1 + kUuidLength;
}

}  // namespace btrfssnap
