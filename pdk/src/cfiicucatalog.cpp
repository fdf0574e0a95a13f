#include "cfiicucatalog.h"

#include <unicode/locid.h>
#include <unicode/msgfmt.h>
#include <unicode/udata.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "V_sscanf.h"
#include "V_strings.h"
#include "cficonfiguration.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr unsigned int kTagSize = 1024;  // room for one tag line or one message id
constexpr std::string_view kHeaderTag = "<SERIALIZED_MESSAGE";
constexpr std::string_view kValueTag = "<ARGVALUE";
constexpr std::string_view kValueEnd = "</ARGVALUE>";

using Arguments = std::unique_ptr<icu::Formattable[]>;

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

// ICU reports short memory by what is missing.
template <typename Object>
Object* made(Object* object) {
  if (object == nullptr) throw std::bad_alloc();
  return object;
}

void check(const icu::Formattable& value) {
  UErrorCode status = U_ZERO_ERROR;
  if (value.getType() == icu::Formattable::kString) {
    if (value.getString(status).isBogus()) throw std::bad_alloc();
  } else if (value.getType() == icu::Formattable::kArray) {
    int32_t count = 0;
    const icu::Formattable* values = value.getArray(count);
    for (int32_t i = 0; i < count; ++i) check(made(values)[i]);
  }
}

// A value that was read; of no type that travels, it leaves none.
struct ReadValue {
  int type;
  std::string text;

  bool travels() const {
    return type == icu::Formattable::kDate || type == icu::Formattable::kDouble ||
           type == icu::Formattable::kLong || type == icu::Formattable::kString;
  }
  void storeIn(icu::Formattable& value) const {
    if (type == icu::Formattable::kString) {
      value.setString(CFiStringTool::str2ustr(text));
    } else if (type == icu::Formattable::kLong) {
      value.setLong(CFiStringTool::str2int(text));
    } else {
      value.setDouble(CFiStringTool::str2double(text));  // a date comes back as a double
    }
    check(value);
  }
};

// The type that an argument tag names; -1 for a tag that cannot be read.
int typeOfTag(const std::string& tag) {
  int index = 0;
  int type = -1;
  V_sscanf(tag.c_str(), "<ARGVALUE INDEX=%d TYPE=%d>", &index,
           static_cast<unsigned int>(sizeof index), &type, static_cast<unsigned int>(sizeof type));
  return type;
}

std::vector<ReadValue> readValues(std::string_view text) {
  std::vector<ReadValue> values;
  // As with the header, the first argument is looked for by the characters of its tag.
  std::size_t tag = text.find_first_of(kValueTag, text.find('>'));
  while (tag < text.size()) {
    const std::size_t tagEnd = text.find('>', tag);
    if (tagEnd == std::string_view::npos) break;
    const std::size_t value = tagEnd + 1;
    const std::size_t valueEnd = std::min(text.find('<', value), text.size());
    ReadValue read{typeOfTag(std::string(text.substr(tag, value - tag))),
                   std::string(text.substr(value, valueEnd - value))};
    if (read.travels()) values.push_back(std::move(read));
    tag = text.find(kValueTag, valueEnd + kValueEnd.size());
  }
  return values;
}

// How a .res file begins. The header is followed, headerSize bytes from the start, by the bundle:
// its root item and then its indexes, one of which is the bundle's size.
struct BundleHeader {
  uint16_t headerSize;
  uint8_t magic[2];
  UDataInfo info;
};
struct BundleStart {
  uint32_t root;
  uint32_t indexes[5];
};
constexpr int kSizeIndex = 3;          // in units of four bytes
constexpr int kIndexesSinceMinor = 1;  // bundles of format 1.0 have no indexes

template <typename Record>
bool readAt(std::istream& file, std::streamoff offset, Record& record) {
  file.seekg(offset);
  return static_cast<bool>(file.read(reinterpret_cast<char*>(&record), sizeof record));
}

// ICU maps a bundle and trusts every offset in it, so that a file which is cut short ends the
// process. True when the file is missing, which ICU copes with, or as long as it says.
bool isWholeOrMissing(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return true;
  BundleHeader header = {};
  BundleStart start = {};
  if (!readAt(file, 0, header) || header.magic[0] != 0xda || header.magic[1] != 0x27) return false;
  const bool hasIndexes =
      header.info.formatVersion[0] > 1 || header.info.formatVersion[1] >= kIndexesSinceMinor;
  if (!hasIndexes || !readAt(file, header.headerSize, start)) return false;
  file.seekg(0, std::ios::end);
  return file.tellg() >= header.headerSize + std::streamoff{4} * start.indexes[kSizeIndex];
}

// The files that a locale falls back through: "a_B_C", "a_B", "a".
std::vector<std::filesystem::path> chainOf(const std::filesystem::path& bundlePath,
                                           std::string locale) {
  std::vector<std::filesystem::path> files;
  while (!locale.empty()) {
    files.push_back(bundlePath / (locale + ".res"));
    const std::size_t end = locale.find_last_of('_');
    locale.erase(end != std::string::npos ? end : 0);
  }
  return files;
}

// ICU looks at the default locale's files only when the wanted one's chain has none.
bool canBeOpened(const std::string& bundlePath, const icu::Locale& locale) {
  std::vector<std::filesystem::path> files = chainOf(bundlePath, locale.getBaseName());
  const auto exists = [](const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
  };
  if (std::none_of(files.begin(), files.end(), exists)) {
    files = chainOf(bundlePath, icu::Locale::getDefault().getBaseName());
  }
  files.push_back(std::filesystem::path(bundlePath) / "root.res");
  return std::all_of(files.begin(), files.end(), isWholeOrMissing);
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
  check(argument);
  int32_t count = 0;
  const icu::Formattable* present = m_arguments.getArray(count);
  Arguments arguments(made(new icu::Formattable[count + 1]));
  for (int32_t i = 0; i <= count; ++i) {
    arguments[i] = i < count ? present[i] : argument;
    check(arguments[i]);
  }
  m_arguments.adoptArray(arguments.release(), count + 1);
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

pyx_msg_info* CFiIcuMessage::serialize() {
  std::string text;
  int32_t count = 0;
  const icu::Formattable* arguments = m_arguments.getArray(count);
  if (count > 0) {
    char tag[kTagSize];
    V_snprintf(tag, sizeof tag, "<SERIALIZED_MESSAGE MSGID=%s SEVERITY=%d>\n",
               getMessageId().c_str(), getSeverity());
    text = tag;
    for (int32_t index = 0; index < count; ++index) {
      V_snprintf(tag, sizeof tag, "\t<ARGVALUE INDEX=%d TYPE=%d>", index,
                 static_cast<int>(arguments[index].getType()));
      text += tag;
      text += valueText(arguments[index]);
      text += "</ARGVALUE>\n";
    }
    text += "</SERIALIZED_MESSAGE>\n";
  }
  m_text = std::move(text);
  m_info.text = m_text.data();
  m_info.length = m_text.size();
  return &m_info;
}

void CFiIcuMessage::deserialize(const pyx_msg_info* info) {
  if (info == nullptr || info->text == nullptr) return;
  // The header begins at the first character that occurs in its tag, not at the tag itself.
  const std::size_t header = std::string_view(info->text).find_first_of(kHeaderTag);
  if (header == std::string_view::npos) return;
  const char* const text = info->text + header;
  char id[kTagSize] = "";
  int severity = 0;
  const int found = V_sscanf(text, "<SERIALIZED_MESSAGE MSGID=%s SEVERITY=%d>", id, kTagSize,
                             &severity, static_cast<unsigned int>(sizeof severity));
  std::string readId = found >= 1 ? id : getMessageId();
  const std::vector<ReadValue> values = readValues(text);
  Arguments arguments(made(new icu::Formattable[values.size()]));
  for (std::size_t i = 0; i < values.size(); ++i) values[i].storeIn(arguments[i]);
  // Everything is there: the message changes as a whole.
  setMessageId(std::move(readId));
  if (found >= 2) setSeverity(severity);
  m_arguments.adoptArray(arguments.release(), static_cast<int32_t>(values.size()));
}

tstr CFiIcuMessage::formatMessage(tstr pattern) {
  int32_t count = 0;
  const icu::Formattable* arguments = m_arguments.getArray(count);
  icu::UnicodeString result;
  UErrorCode status = U_ZERO_ERROR;
  icu::MessageFormat::format(CFiStringTool::tstr2ustr(pattern), arguments, count, result, status);
  if (U_FAILURE(status) || result.isEmpty()) {
    return CFiStringTool::str2tstr(CFiStringTool::tstr2str(pattern));
  }
  return CFiStringTool::ustr2tstr(result);
}

CFiMessageCatalog::CFiMessageCatalog() = default;

CFiMessageCatalog::~CFiMessageCatalog() = default;

CFiIcuMessageCatalog::CFiIcuMessageCatalog(const char* language, const std::string& name)
    : m_language(language != nullptr ? language : ""), m_name(name) {}
CFiIcuMessageCatalog::~CFiIcuMessageCatalog() = default;

int CFiIcuMessageCatalog::init() {
  tstr directory;
  tstr file;
  if (CFiConfigurationPathTool::getMessageFileInfo(CFiStringTool::str2tstr(m_name), directory,
                                                   file) != FI_OK) {
    return FI_INVALID;
  }
  m_bundlePath = CFiStringTool::tstr2str(directory) + CFiStringTool::tstr2str(file);
  const icu::Locale locale(m_language.c_str());
  if (!canBeOpened(m_bundlePath, locale)) return FI_INVALID;
  UErrorCode status = U_ZERO_ERROR;
  m_bundle = std::make_unique<icu::ResourceBundle>(m_bundlePath.c_str(), locale, status);
  m_hasTexts = U_SUCCESS(status);
  return status == U_ZERO_ERROR || status == U_USING_DEFAULT_WARNING ? FI_OK : FI_INVALID;
}

tstr CFiIcuMessageCatalog::getMessage(const std::string& msgId, const char* defaultText) const {
  if (m_bundle != nullptr) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text = m_bundle->getStringEx(msgId.c_str(), status);
    if (U_SUCCESS(status)) {
      return CFiStringTool::str2tstr(m_name + ": " + CFiStringTool::ustr2str(text));
    }
  }
  if (defaultText != nullptr) return tstr(defaultText);
  return CFiStringTool::str2tstr(m_name + ": <" + msgId + ">");
}

bool CFiIcuMessageCatalog::hasTexts() const { return m_hasTexts; }

}  // namespace orca_pdk_4_4
