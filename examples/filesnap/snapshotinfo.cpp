#include "snapshotinfo.h"

#include <charconv>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

namespace filesnap {

namespace {

constexpr char kFormat[] = "filesnap-2";
constexpr char kLinesFormat[] = "filesnap-1";
constexpr mode_t kPermissions = 07777;

using Values = std::map<std::string, std::string>;

std::string escaped(const std::string& value) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte <= '~' && c != '%' && c != '"' && c != '\\') {
      text += c;
    } else {
      text += {'%', kDigits[byte / 16], kDigits[byte % 16]};
    }
  }
  return text;
}

std::string unescaped(const std::string& text) {
  std::string value;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char* const digits = text.data() + i + 1;
    unsigned char byte = 0;
    const bool isEscape = text[i] == '%' && i + 2 < text.size() &&
                          std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
    value += isEscape ? static_cast<char>(byte) : text[i];
    if (isEscape) i += 2;
  }
  return value;
}

// Takes the values out of a flat object as they are read. A document in memory would not do: where
// memory is short, its destructor ends the process.
class ValueReader : public nlohmann::json_sax<nlohmann::json> {
 public:
  Values values;

  bool key(string_t& name) override {
    m_key = name;
    return true;
  }
  bool string(string_t& text) override { return take(text); }
  bool number_integer(number_integer_t number) override { return take(std::to_string(number)); }
  bool number_unsigned(number_unsigned_t number) override { return take(std::to_string(number)); }
  bool start_object(std::size_t) override { return m_key.empty(); }
  bool end_object() override { return true; }

  bool null() override { return false; }
  bool boolean(bool) override { return false; }
  bool number_float(number_float_t, const string_t&) override { return false; }
  bool binary(binary_t&) override { return false; }
  bool start_array(std::size_t) override { return false; }
  bool end_array() override { return false; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception&) override {
    return false;
  }

 private:
  bool take(const std::string& text) {
    values[m_key] = text;
    return true;
  }

  std::string m_key;
};

Values fromJson(const std::string& text) {
  ValueReader reader;
  return nlohmann::json::sax_parse(text, &reader) ? reader.values : Values();
}

Values fromLines(const std::string& text) {
  Values values;
  std::istringstream in(text);
  in.exceptions(std::ios::badbit);
  for (std::string line; std::getline(in, line);) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return {};
    values[line.substr(0, equals)] = line.substr(equals + 1);
  }
  return values.count("end") != 0 ? values : Values();
}

template <typename Number>
bool read(const Values& values, const char* key, Number& number) {
  const auto value = values.find(key);
  if (value == values.end()) return false;
  const std::string& text = value->second;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end;
}

bool read(const Values& values, const char* key, std::string& text) {
  const auto value = values.find(key);
  if (value == values.end()) return false;
  text = unescaped(value->second);
  return true;
}

bool readMark(const Values& values, DataMark& mark) {
  return read(values, "modified", mark.modified) && read(values, "changed", mark.changed) &&
         read(values, "inode", mark.inode);
}

}  // namespace

std::string toText(const SnapshotInfo& info) {
  std::ostringstream text;
  text.exceptions(std::ios::badbit);  // short memory is no reason to write a part
  text << "{\n  \"format\": \"" << kFormat << "\",\n  \"name\": \"" << escaped(info.name)
       << "\",\n  \"source\": \"" << escaped(info.source) << "\",\n  \"session\": \""
       << escaped(info.session) << "\",\n  \"digest\": \"" << info.digest
       << "\",\n  \"created\": " << info.created << ",\n  \"size\": " << info.size
       << ",\n  \"mode\": " << info.mode << ",\n  \"owner\": " << info.owner
       << ",\n  \"group\": " << info.group << ",\n  \"modified\": " << info.mark.modified
       << ",\n  \"changed\": " << info.mark.changed << ",\n  \"inode\": " << info.mark.inode
       << ",\n  \"process\": " << info.process << "\n}\n";
  return text.str();
}

std::optional<SnapshotInfo> fromText(const std::string& text) {
  const bool isJson = text.starts_with('{');
  const Values values = isJson ? fromJson(text) : fromLines(text);
  SnapshotInfo info;
  std::string format;
  const bool isWhole =
      read(values, "format", format) && format == (isJson ? kFormat : kLinesFormat) &&
      read(values, "name", info.name) && read(values, "source", info.source) &&
      read(values, "session", info.session) && read(values, "digest", info.digest) &&
      read(values, "created", info.created) && read(values, "size", info.size) &&
      read(values, "mode", info.mode) && info.mode <= kPermissions &&
      read(values, "owner", info.owner) && read(values, "group", info.group) &&
      (!isJson || (readMark(values, info.mark) && read(values, "process", info.process)));
  return isWhole ? std::optional(info) : std::nullopt;
}

}  // namespace filesnap
