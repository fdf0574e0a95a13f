#include <unicode/msgfmt.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "V_sscanf.h"
#include "V_strings.h"
#include "cfiicucatalog.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr unsigned int kTagSize = 1024;  // room for one tag line or one message id
constexpr std::string_view kHeaderTag = "<SERIALIZED_MESSAGE";
constexpr std::string_view kValueTag = "<ARGVALUE";
constexpr std::string_view kValueEnd = "</ARGVALUE>";

std::string valueText(const icu::Formattable& value) {
  switch (value.getType()) {
    case icu::Formattable::kDate:
      return CFiStringTool::double2str(value.getDate());
    case icu::Formattable::kDouble:
      return CFiStringTool::double2str(value.getDouble());
    case icu::Formattable::kLong:
      return CFiStringTool::int2str(static_cast<int>(value.getLong()));
    case icu::Formattable::kString:
      return CFiStringTool::ustr2str(value.getString());
    default:
      return std::string();
  }
}

// The value of a type that travels; nothing for the other types.
std::optional<icu::Formattable> valueFromText(int type, const std::string& text) {
  switch (type) {
    case icu::Formattable::kDate:
    case icu::Formattable::kDouble:
      return icu::Formattable(CFiStringTool::str2double(text));
    case icu::Formattable::kLong:
      return icu::Formattable(static_cast<int32_t>(CFiStringTool::str2int(text)));
    case icu::Formattable::kString:
      return icu::Formattable(CFiStringTool::str2ustr(text));
    default:
      return std::nullopt;
  }
}

// The type that an argument tag names; -1 for a tag that cannot be read.
int typeOfTag(const std::string& tag) {
  int index = 0;
  int type = -1;
  V_sscanf(tag.c_str(), "<ARGVALUE INDEX=%d TYPE=%d>", &index,
           static_cast<unsigned int>(sizeof index), &type, static_cast<unsigned int>(sizeof type));
  return type;
}

}  // namespace

CFiMessage::CFiMessage(std::string id, int severity, std::string file, int line)
    : m_id(std::move(id)), m_severity(severity), m_file(std::move(file)), m_line(line) {}
CFiMessage::~CFiMessage() = default;

int CFiMessage::getSeverity() const { return m_severity; }

int CFiMessage::getLineNumber() const { return m_line; }

std::string CFiMessage::getFileName() const { return m_file; }

std::string CFiMessage::getMessageId() const { return m_id; }

void CFiMessage::setMessageId(std::string id) { m_id = std::move(id); }

void CFiMessage::setSeverity(int severity) { m_severity = severity; }

// A default Formattable is the number 0, so the array is there from the start.
CFiIcuMessage::CFiIcuMessage(std::string id, int severity, std::string file, int line)
    : CFiMessage(std::move(id), severity, std::move(file), line), m_arguments(nullptr, 0) {}
CFiIcuMessage::~CFiIcuMessage() = default;

void CFiIcuMessage::addArgument(const icu::Formattable& argument) {
  int32_t count = 0;
  const icu::Formattable* present = m_arguments.getArray(count);
  std::vector<icu::Formattable> arguments(present, present + count);
  arguments.push_back(argument);
  setArguments(arguments);
}

int CFiIcuMessage::argumentCount() const {
  int32_t count = 0;
  m_arguments.getArray(count);
  return count;
}

const icu::Formattable& CFiIcuMessage::argument(int index) const {
  static const icu::Formattable none;
  int32_t count = 0;
  const icu::Formattable* arguments = m_arguments.getArray(count);
  return index >= 0 && index < count ? arguments[index] : none;
}

void CFiIcuMessage::setArguments(const std::vector<icu::Formattable>& arguments) {
  m_arguments.setArray(arguments.data(), static_cast<int32_t>(arguments.size()));
}

pyx_msg_info* CFiIcuMessage::serialize() {
  m_text.clear();
  int32_t count = 0;
  const icu::Formattable* arguments = m_arguments.getArray(count);
  if (count > 0) {
    char tag[kTagSize];
    V_snprintf(tag, sizeof tag, "<SERIALIZED_MESSAGE MSGID=%s SEVERITY=%d>\n",
               getMessageId().c_str(), getSeverity());
    m_text = tag;
    for (int32_t index = 0; index < count; ++index) {
      V_snprintf(tag, sizeof tag, "\t<ARGVALUE INDEX=%d TYPE=%d>", index,
                 static_cast<int>(arguments[index].getType()));
      m_text += tag;
      m_text += valueText(arguments[index]);
      m_text += "</ARGVALUE>\n";
    }
    m_text += "</SERIALIZED_MESSAGE>\n";
  }
  m_info.text = m_text.data();
  m_info.length = m_text.size();
  return &m_info;
}

void CFiIcuMessage::deserialize(const pyx_msg_info* info) {
  if (info == nullptr || info->text == nullptr) return;
  const std::string_view text(info->text);
  // The header begins at the first character that occurs in its tag, not at the tag itself.
  const std::size_t header = text.find_first_of(kHeaderTag);
  if (header == std::string_view::npos) return;
  readHeader(info->text + header);
  readArguments(text.substr(header));
}

void CFiIcuMessage::readHeader(const char* text) {
  char id[kTagSize] = "";
  int severity = 0;
  const int found = V_sscanf(text, "<SERIALIZED_MESSAGE MSGID=%s SEVERITY=%d>", id, kTagSize,
                             &severity, static_cast<unsigned int>(sizeof severity));
  if (found >= 1) setMessageId(id);
  if (found >= 2) setSeverity(severity);
}

void CFiIcuMessage::readArguments(std::string_view text) {
  std::vector<icu::Formattable> arguments;
  // As with the header, the first argument is looked for by the characters of its tag.
  std::size_t tag = text.find_first_of(kValueTag, text.find('>'));
  while (tag < text.size()) {
    const std::size_t tagEnd = text.find('>', tag);
    if (tagEnd == std::string_view::npos) break;
    const std::size_t value = tagEnd + 1;
    const std::size_t valueEnd = std::min(text.find('<', value), text.size());
    const int type = typeOfTag(std::string(text.substr(tag, value - tag)));
    if (auto argument = valueFromText(type, std::string(text.substr(value, valueEnd - value)))) {
      arguments.push_back(*argument);
    }
    tag = text.find(kValueTag, valueEnd + kValueEnd.size());
  }
  setArguments(arguments);
}

tstr CFiIcuMessage::formatMessage(tstr pattern) {
  int32_t count = 0;
  const icu::Formattable* arguments = m_arguments.getArray(count);
  icu::UnicodeString result;
  UErrorCode status = U_ZERO_ERROR;
  icu::MessageFormat::format(CFiStringTool::tstr2ustr(pattern), arguments, count, result, status);
  if (U_FAILURE(status) || result.isEmpty()) return pattern;
  return CFiStringTool::ustr2tstr(result);
}

}  // namespace orca_pdk_4_4
