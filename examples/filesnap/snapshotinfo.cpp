#include "snapshotinfo.h"

#include <charconv>
#include <map>
#include <sstream>

namespace filesnap {

namespace {

constexpr char kFormat[] = "filesnap-1";

std::string escaped(const std::string& value) {
  std::string text;
  for (const char c : value) {
    if (c == '%') {
      text += "%25";
    } else if (c == '\n') {
      text += "%0A";
    } else {
      text += c;
    }
  }
  return text;
}

std::string unescaped(const std::string& text) {
  std::string value;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%' && i + 2 < text.size();
    value += !isEscape ? text[i] : text.compare(i, 3, "%0A") == 0 ? '\n' : '%';
    if (isEscape) i += 2;
  }
  return value;
}

using Lines = std::map<std::string, std::string>;

template <typename Number>
bool readNumber(const Lines& lines, const char* key, Number& number) {
  const auto line = lines.find(key);
  if (line == lines.end()) return false;
  const std::string& text = line->second;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end;
}

bool readText(const Lines& lines, const char* key, std::string& value) {
  const auto line = lines.find(key);
  if (line == lines.end()) return false;
  value = unescaped(line->second);
  return true;
}

}  // namespace

std::string toText(const SnapshotInfo& info) {
  std::ostringstream text;
  text << "format=" << kFormat << "\nname=" << escaped(info.name)
       << "\nsource=" << escaped(info.source) << "\nsession=" << escaped(info.session)
       << "\ndigest=" << info.digest << "\ncreated=" << info.created << "\nsize=" << info.size
       << "\nmode=" << info.mode << "\nowner=" << info.owner << "\ngroup=" << info.group
       << "\nend=\n";
  return text.str();
}

std::optional<SnapshotInfo> fromText(const std::string& text) {
  Lines lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return std::nullopt;
    lines[line.substr(0, equals)] = line.substr(equals + 1);
  }
  SnapshotInfo info;
  const bool whole =
      lines["format"] == kFormat && lines.count("end") != 0 && readText(lines, "name", info.name) &&
      readText(lines, "source", info.source) && readText(lines, "session", info.session) &&
      readText(lines, "digest", info.digest) && readNumber(lines, "created", info.created) &&
      readNumber(lines, "size", info.size) && readNumber(lines, "mode", info.mode) &&
      readNumber(lines, "owner", info.owner) && readNumber(lines, "group", info.group);
  return whole ? std::optional(info) : std::nullopt;
}

}  // namespace filesnap
