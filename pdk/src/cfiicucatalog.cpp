#include "cfiicucatalog.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/locid.h>
#include <unicode/msgfmt.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
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
#include "cfidescriptor.h"
#include "cfiretry.h"
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

// A language that no catalog has texts of.
constexpr const char* kNoLanguage = "zxx";
// ICU keeps each name that it was asked for, about 200 bytes, until the process ends.
constexpr std::size_t kMostNames = 1000;

// True for a bundle that is shorter than it says. Its header begins with the header's own length;
// the fifth word behind the header is the number of words there. Anything else ICU looks through.
bool isCutShort(const std::string& path) {
  const CFiDescriptor file(retryInterrupted(
      [&] { return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  struct {
    uint16_t length;
    unsigned char mark[2];
  } header = {};
  uint32_t words[5] = {};
  struct stat status = {};
  const bool isBundle = fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                        pread(file.get(), &header, sizeof header, 0) == sizeof header &&
                        header.mark[0] == 0xda && header.mark[1] == 0x27;
  if (!isBundle) return false;
  if (pread(file.get(), words, sizeof words, header.length) != sizeof words) return true;
  return status.st_size < header.length + off_t{sizeof(uint32_t)} * words[4];
}

// A folder of links, gone with everything in it at the end of the scope.
class LinkFolder {
 public:
  LinkFolder()
      : m_isMade(mkdtemp(m_path.data()) != nullptr),
        m_folder(open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  ~LinkFolder() {
    for (const std::string& name : m_names) unlinkat(m_folder.get(), name.c_str(), 0);
    if (m_isMade) rmdir(m_path.c_str());
  }
  LinkFolder(const LinkFolder&) = delete;
  LinkFolder& operator=(const LinkFolder&) = delete;

  // False when the link cannot be made.
  bool add(const std::string& folder, const std::string& name) {
    m_names.push_back(name);
    return symlinkat((folder + "/" + name).c_str(), m_folder.get(), name.c_str()) == 0;
  }
  const char* path() const { return m_path.c_str(); }

 private:
  static std::string pattern() {
    const char* const place = secure_getenv("TMPDIR");
    return std::string(place != nullptr ? place : "/tmp") + "/orca-catalog-XXXXXX";
  }

  std::string m_path = pattern();
  bool m_isMade;
  CFiDescriptor m_folder;
  std::vector<std::string> m_names;
};

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

// The folder of a catalog as ICU may see it. ICU trusts every offset in a bundle, and which bundles
// it opens for a language is its own affair: one that is cut short, and would end the process, is
// kept from it by a folder of links to the others, needed only while the catalog is opened.
class BundleFolder {
 public:
  explicit BundleFolder(const std::string& path) : m_path(path) {
    std::vector<std::string> whole;
    if (isSound(whole)) return;
    m_links.emplace();
    m_isUsable = !whole.empty();
    for (const std::string& name : whole) m_isUsable = m_isUsable && m_links->add(path, name);
  }

  // False when no bundle is left, or no links can be made.
  bool isUsable() const { return m_isUsable; }
  const char* path() const { return m_links ? m_links->path() : m_path.c_str(); }

 private:
  bool isSound(std::vector<std::string>& whole) const {
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(m_path.c_str()));
    bool sound = true;
    while (const dirent* const entry = directory ? readdir(directory.get()) : nullptr) {
      const std::string name(entry->d_name);
      if (!name.ends_with(".res")) continue;
      if (isCutShort(m_path + "/" + name)) {
        sound = false;
      } else {
        whole.push_back(name);
      }
    }
    return sound;
  }

  std::string m_path;
  std::optional<LinkFolder> m_links;
  bool m_isUsable = true;
};

// The locale to ask ICU for. Any text is a language: one that ICU does not take, or takes for a
// part of a path, is as one without texts, and so is every new one when ICU has enough names to
// keep.
icu::Locale localeOf(const std::string& language) {
  static std::set<std::string>& asked = *new std::set<std::string>;  // as long as ICU's own
  icu::Locale locale(language.c_str());
  if (locale.isBogus() || language.find('/') != std::string::npos) return icu::Locale(kNoLanguage);
  const std::string name = locale.getBaseName();
  if (asked.size() >= kMostNames && !asked.contains(name)) return icu::Locale(kNoLanguage);
  asked.insert(name);
  return locale;
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
  const BundleFolder folder(m_bundlePath);
  if (!folder.isUsable()) return FI_INVALID;
  UErrorCode status = U_ZERO_ERROR;
  m_bundle.reset(made(new icu::ResourceBundle(folder.path(), localeOf(m_language), status)));
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
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
  if (defaultText != nullptr) return CFiStringTool::str2tstr(defaultText);
  return CFiStringTool::str2tstr(m_name + ": <" + msgId + ">");
}

bool CFiIcuMessageCatalog::hasTexts() const { return m_hasTexts; }

}  // namespace orca_pdk_4_4
