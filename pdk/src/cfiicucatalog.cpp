#include "cfiicucatalog.h"

#include <unicode/locid.h>
#include <unicode/udata.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

#include "cficonfiguration.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

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

bool CFiIcuMessageCatalog::hasTexts() const { return m_hasTexts; }

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

}  // namespace orca_pdk_4_4
