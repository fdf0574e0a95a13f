#include "cficonfiguration.h"

#include <ace/Configuration_Import_Export.h>
#include <fiutil.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "cficachepath.h"
#include "cfiscope.h"
#include "cfistringtool.h"
#include "cfitstr.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kFailed = -1;
// The importer's own code for a line that it cannot use.
constexpr int kMalformed = -4;
constexpr size_t kDefaultMapSize = 16;
constexpr const char* kSourceFile = "cficonfiguration";

const char* textOrEmpty(const char* text) { return text != nullptr ? text : ""; }

// The importer takes a file for text and steps out of its lines at a NUL. A file that cannot be
// read holds none: the importer says what is wrong with it.
bool holdsNul(const char* path) {
  std::ifstream in(path, std::ios::binary);
  char block[4096];
  while (in.read(block, sizeof(block)) || in.gcount() > 0) {
    if (std::memchr(block, '\0', static_cast<size_t>(in.gcount())) != nullptr) return true;
  }
  return false;
}

// A section with an empty level cannot be opened again, and the export that meets it fails half way
// through the file. The importer takes slashes for separators too, so a level of slashes alone is
// empty there. A line break would start a line of its own.
bool isSectionName(const char* name) {
  if (name == nullptr || std::strpbrk(name, "\n\r") != nullptr) return false;
  const std::string_view text(name);
  for (size_t start = 0; start <= text.size();) {
    const size_t end = std::min(text.find('\\', start), text.size());
    if (text.substr(start, end - start).find_first_not_of('/') == text.npos) return false;
    start = end + 1;
  }
  return true;
}

// Names that are written to the file must read back.
bool isWritableKey(const char* name) {
  return name != nullptr && std::strpbrk(name, "\"\n\r") == nullptr;
}

bool isWritableValue(const tstr& value) { return std::strpbrk(value.c_str(), "\n\r") == nullptr; }

constexpr const char* kTraceSource = "../cficonfiguration";

bool isOpenArrayName(const tstr& name) { return name.find("OPENARRAY") != tstr::npos; }

bool isGiven(const tstr& value) { return !value.empty() && value != "<none>"; }

// What two host names that differ in letter case only have in common.
std::string hostKey(const tstr& hostname) {
  return CFiStringTool::tostrupper(CFiStringTool::tstr2str(hostname));
}

constexpr mode_t kDirectoryMode = 0755;

struct BufferReturner {
  void operator()(char* text) const { orca_free_buf(text, std::strlen(text) + 1); }
};

// Answers whether the directory was there, as verify does, and makes it when it was not.
int verifyOrMake(const tstr& dir) {
  const int result = CFiConfigurationPathTool::verify(dir.c_str());
  if (result != 0) static_cast<void>(mkdir(dir.c_str(), kDirectoryMode));
  return result;
}

int getDirectory(const char* suffix, tstr& dir) {
  CFiConfigurationPathTool::getInstallPath(dir);
  dir += suffix;
  verifyOrMake(dir);
  return 0;
}

int getDeviceKey(const tstr& udid, const char* kind, tstr& key) {
  tstr cache;
  CFiConfigurationPathTool::getCacheLocationInfo(cache);
  std::string path = CFiStringTool::tstr2str(cache) + kind;
  verifyOrMake(makeTstr(path));
  const std::string text = CFiStringTool::tstr2str(udid);
  const std::string enclosure = CFiUdid(udid).getEnclosure() + "/";
  if (leadsOutside(enclosure + text)) throw CFiUdidException(text, FI_UDID_UNSAFE_FIELD);
  path += enclosure;
  const int result = verifyOrMake(makeTstr(path));
  assignTstr(key, path + text);
  return result;
}

}  // namespace

CFiConfiguration::CFiConfiguration() { openHeap(); }

CFiConfiguration::CFiConfiguration(const char* path, const char* file, bool import) {
  openHeap();
  if (import && m_opened) {
    importConfig(path, file);
  } else {
    setLocation(path, file);
  }
}

CFiConfiguration::CFiConfiguration(const tstr& name) {
  try {
    openHeap();
    tstr dir;
    tstr file;
    CFiConfigurationPathTool::getConfigFileInfo(name, dir, file);
    if (!m_opened) {
      setLocation(dir.c_str(), file.c_str());
    } else if (importConfig(dir.c_str(), file.c_str()) != 0) {
      exportConfig();
    }
  } catch (...) {
    // The store stays as far as it got; its operations say what is missing.
  }
}

CFiConfiguration::~CFiConfiguration() = default;

ACE_Configuration_Heap& CFiConfiguration::configHeap() { return m_heap; }

int CFiConfiguration::importConfig(const char* path, const char* file) {
  constexpr const char* kFunction = "importConfig";
  setLocation(path, file);
  if (const int result = CFiConfigurationPathTool::verify(m_configPath.c_str()); result != 0) {
    return fail(result, "Configuration path verification failed", __LINE__, kFunction);
  }
  if (const int result = CFiConfigurationPathTool::verify(m_configFullPath.c_str()); result != 0) {
    return fail(result, "Configuration path succeeded but no configuration file exists.", __LINE__,
                kFunction);
  }
  if (const int result = importFile(); result != 0) {
    return fail(result, "Import of configuration file failed.", __LINE__, kFunction);
  }
  return 0;
}

int CFiConfiguration::exportConfig() {
  if (!m_opened) return kFailed;
  return ACE_Registry_ImpExp(m_heap).export_config(m_configFullPath.c_str());
}

int CFiConfiguration::openSection(const ACE_Configuration_Section_Key& base, const char* name,
                                  ACE_Configuration_Section_Key& out, int create) {
  if (!m_opened || !isSectionName(name)) return kFailed;
  ACE_Configuration_Section_Key opened;
  const int result = m_heap.open_section(base, name, create != 0, opened);
  if (result == 0) {
    out = opened;
    m_currentSection = opened;
  }
  return result;
}

int CFiConfiguration::openSection(const char* name, ACE_Configuration_Section_Key& out,
                                  int create) {
  return openSection(m_heap.root_section(), name, out, create);
}

int CFiConfiguration::getStringValue(const char* name, tstr& value) {
  if (!m_opened || name == nullptr) return kFailed;
  return m_heap.get_string_value(m_currentSection, name, value);
}

int CFiConfiguration::getStringValue(const char* section, const char* name, tstr& value) {
  ACE_Configuration_Section_Key key;
  const int result = openSection(section, key, 1);
  return result != 0 ? result : getStringValue(name, value);
}

int CFiConfiguration::setStringValue(const char* name, const tstr& value) {
  if (!m_opened || !isWritableKey(name) || !isWritableValue(value)) return kFailed;
  return m_heap.set_string_value(m_currentSection, name, value);
}

int CFiConfiguration::getIntegerValue(const char* name, unsigned int& value) {
  if (!m_opened || name == nullptr) return kFailed;
  return m_heap.get_integer_value(m_currentSection, name, value);
}

int CFiConfiguration::getIntegerValue(const char* section, const char* name, unsigned int& value) {
  ACE_Configuration_Section_Key key;
  const int result = openSection(section, key, 1);
  return result != 0 ? result : getIntegerValue(name, value);
}

int CFiConfiguration::setIntegerValue(const char* name, unsigned int value) {
  if (!m_opened || !isWritableKey(name)) return kFailed;
  return m_heap.set_integer_value(m_currentSection, name, value);
}

std::vector<tstr> CFiConfiguration::enumerateSections(const ACE_Configuration_Section_Key& key) {
  std::vector<tstr> names;
  if (!m_opened) return names;
  tstr name;
  for (int index = 0; m_heap.enumerate_sections(key, index, name) == 0; ++index) {
    names.push_back(name);
  }
  return names;
}

std::vector<tstr> CFiConfiguration::enumerateSections() {
  return enumerateSections(m_currentSection);
}

std::vector<SFiCredential> CFiConfiguration::importCredentials(std::string vendor,
                                                               std::string product, tstr section,
                                                               bool openArray) {
  const OperationScope scope(*this, kTraceSource);
  std::vector<SFiCredential> result;
  CFiCredentialsParser parser;
  parser.registerTraceLog(getTraceLog());
  parser.parse(vendor, product, result, openArray);

  ACE_Configuration_Section_Key key;
  if (openSection(section.c_str(), key, 1) == 0) importSections(key, openArray, result);

  if (result.empty()) {
    traceLine(FI_TRACE_WARNING, "WARNING: No credentials found for %s %s.", vendor.c_str(),
              product.c_str());
  } else {
    traceLine(FI_TRACE_INFO, "INFO: %d credentials found for %s %s.",
              static_cast<int>(result.size()), vendor.c_str(), product.c_str());
  }
  return result;
}

void CFiConfiguration::openHeap() {
  const int result = m_heap.open(kDefaultMapSize);
  m_opened = result == 0;
  if (!m_opened) {
    fail(result, "Failed to open configuration heap", __LINE__, "CFiConfiguration");
  }
}

void CFiConfiguration::setLocation(const char* path, const char* file) {
  m_configPath = textOrEmpty(path);
  m_configFile = textOrEmpty(file);
  m_configFullPath = m_configPath + m_configFile;
}

int CFiConfiguration::fail(int code, const char* message, int line, const char* function) {
  setLastError(code, message, kSourceFile, line, function);
  return code;
}

int CFiConfiguration::importFile() {
  if (!m_opened) return kFailed;
  if (holdsNul(m_configFullPath.c_str())) return kMalformed;
  return ACE_Registry_ImpExp(m_heap).import_config(m_configFullPath.c_str());
}

void CFiConfiguration::importSections(const ACE_Configuration_Section_Key& key, bool openArray,
                                      std::vector<SFiCredential>& result) {
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - inside opensection");
  const std::vector<tstr> names = enumerateSections();
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - found [%d] subsections.",
            static_cast<int>(names.size()));
  std::set<std::string> hosts;
  for (const SFiCredential& known : result) hosts.insert(hostKey(known.hostname));
  result.reserve(result.size() + names.size());  // records cannot be moved, only copied
  for (const tstr& name : names) importSection(key, name, openArray, hosts, result);
}

void CFiConfiguration::importSection(const ACE_Configuration_Section_Key& base, const tstr& name,
                                     bool openArray, std::set<std::string>& hosts,
                                     std::vector<SFiCredential>& result) {
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - opening subsection [%s].",
            name.c_str());
  ACE_Configuration_Section_Key key;
  if (openSection(base, name.c_str(), key, 1) != 0) {
    traceLine(FI_TRACE_ERROR, "ERROR: [%s] Importing section [%s] failed.",
              "The section cannot be opened", name.c_str());
    return;
  }
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials -inside open subsection [%s].",
            name.c_str());
  if (isOpenArrayName(name) != openArray) {
    traceLine(FI_TRACE_INFO, "Skipping credentials section [%s]", name.c_str());
    return;
  }
  traceLine(FI_TRACE_INFO, "Importing credentials section [%s]", name.c_str());
  importRecord(hosts, result);
}

void CFiConfiguration::importRecord(std::set<std::string>& hosts,
                                    std::vector<SFiCredential>& result) {
  SFiCredential record;
  getStringValue("HOSTNAME", record.hostname);
  getStringValue("USERNAME", record.username);
  getStringValue("PASSWORD", record.password);
  traceLine(FI_TRACE_INFO, "Found cred.password as [%s].", record.password.c_str());
  traceLine(FI_TRACE_INFO, "Found cred.username as [%s].", record.username.c_str());
  traceLine(FI_TRACE_INFO, "Found cred.hostname as [%s].", record.hostname.c_str());
  if (!isGiven(record.hostname) || !isGiven(record.username) || !isGiven(record.password)) return;

  traceLine(FI_TRACE_INFO, "Checking if credentails alreadt added for [%s]",
            record.hostname.c_str());
  if (hosts.insert(hostKey(record.hostname)).second) result.push_back(record);
}

int CFiConfigurationPathTool::verify(const char* path) {
  return path != nullptr ? access(path, F_OK) : -1;
}

int CFiConfigurationPathTool::getInstallPath(tstr& out) {
  char* text = nullptr;
  orca_get_install_root(&text);
  const std::unique_ptr<char, BufferReturner> root(text);
  out = root != nullptr ? root.get() : "/usr/tarn";
  return 0;
}

int CFiConfigurationPathTool::getCacheLocationInfo(tstr& dir) {
  return getDirectory("/lib/orca/cachefiles/", dir);
}

int CFiConfigurationPathTool::getLunKey(const tstr& udid, tstr& key) {
  return getDeviceKey(udid, "luns/", key);
}

int CFiConfigurationPathTool::getDevKey(const tstr& udid, tstr& key) {
  return getDeviceKey(udid, "devHandle/", key);
}

int CFiConfigurationPathTool::getMessageFileInfo(const tstr& name, tstr& dir, tstr& file) {
  file = tstr("lib") + name;
  return getDirectory("/resources/", dir);
}

int CFiConfigurationPathTool::getConfigFileInfo(const tstr& name, tstr& dir, tstr& file) {
  file = name + ".conf";
  return getDirectory("/lib/orca/configfiles/", dir);
}

int CFiConfigurationPathTool::getTraceFileInfo(const tstr& name, tstr& dir, tstr& file) {
  file = name + ".log";
  getInstallPath(dir);
  // Trace files of all install roots are gathered in one place.
  dir = "/usr/tarn/keystone/logs/frzcmd/";
  verifyOrMake(dir);
  return 0;
}

}  // namespace orca_pdk_4_4
