#include "cficonfiguration.h"

#include <ace/Configuration_Import_Export.h>
#include <fcntl.h>
#include <fiutil.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <string_view>

#include "cficachepath.h"
#include "cficredentiallist.h"
#include "cfideleters.h"
#include "cfidescriptor.h"
#include "cfinewfile.h"
#include "cfiretry.h"
#include "cfiscope.h"
#include "cfistringtool.h"
#include "cfitstr.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kFailed = -1;
constexpr size_t kDefaultMapSize = 16;
constexpr std::ptrdiff_t kMostLevels = 100;
constexpr const char* kSourceFile = "cficonfiguration";
constexpr const char* kTraceSource = "../cficonfiguration";

const char* textOrEmpty(const char* text) { return text != nullptr ? text : ""; }

// Result of a call of ACE, which goes on, with parts missing, where it has no memory, and says so
// in errno alone.
template <class Call>
int unlessShort(Call call) {
  errno = 0;
  const int result = call();
  if (errno == ENOMEM) throw std::bad_alloc();
  return result;
}

// The levels that a section name has when it is read from a file, where slashes separate them too;
// those of the root, which has no name, are none.
std::ptrdiff_t levelsOf(std::string_view name) {
  const auto isSeparator = [](char c) { return c == '\\' || c == '/'; };
  return name.empty() ? 0 : std::count_if(name.begin(), name.end(), isSeparator) + 1;
}

// Where a file is to be written: a link's target, so that the link stays one. Empty when there is
// something that cannot be replaced: a device or a FIFO, what may not be written.
std::string writablePlace(const char* path) {
  struct stat info;
  if (stat(path, &info) != 0) return errno == ENOENT ? path : "";
  if (!S_ISREG(info.st_mode) || access(path, W_OK) != 0) return {};
  const std::unique_ptr<char, CFiFreeMemory> place(realpath(path, nullptr));
  return place != nullptr ? place.get() : "";
}

bool copyAll(int from, int to) {
  char block[4096];
  for (;;) {
    const ssize_t got = retryInterrupted([&] { return read(from, block, sizeof(block)); });
    if (got <= 0) return got == 0;
    if (!writeAll(to, block, static_cast<size_t>(got))) return false;
  }
}

// Keeps a file beside itself, for its owner alone.
bool keepRejected(const std::string& path) {
  const CFiDescriptor file(
      retryInterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
  CFiNewFile kept(path + ".rejected");
  return file.get() >= 0 && kept.openPrivate() && copyAll(file.get(), kept.fd()) && kept.sync() &&
         kept.putInPlace();
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

// Names and values that are written to the file must read back.
bool isWritableKey(const char* name) {
  return name != nullptr && *name != '\0' && std::strpbrk(name, "\"\n\r") == nullptr;
}

bool isWritableValue(const tstr& value) {
  constexpr std::string_view kForbidden("\n\r\0", 3);
  return std::string_view(value.c_str(), value.length()).find_first_of(kForbidden) ==
         std::string_view::npos;
}

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
int verifyOrMake(const std::string& dir) {
  const int result = CFiConfigurationPathTool::verify(dir.c_str());
  if (result != 0) static_cast<void>(mkdir(dir.c_str(), kDirectoryMode));
  return result;
}

int getDirectory(const char* suffix, tstr& dir) {
  tstr root;
  CFiConfigurationPathTool::getInstallPath(root);
  const std::string path = CFiStringTool::tstr2str(root) + suffix;
  verifyOrMake(path);
  assignTstr(dir, path);
  return 0;
}

void setFileName(const char* before, const tstr& name, const char* after, tstr& file) {
  assignTstr(file, before + CFiStringTool::tstr2str(name) + after);
}

int getDeviceKey(const tstr& udid, const char* kind, tstr& key) {
  tstr cache;
  CFiConfigurationPathTool::getCacheLocationInfo(cache);
  std::string path = CFiStringTool::tstr2str(cache) + kind;
  verifyOrMake(path);
  const std::string text = CFiStringTool::tstr2str(udid);
  const std::string enclosure = CFiUdid(udid).getEnclosure() + "/";
  if (leadsOutside(enclosure + text)) throw CFiUdidException(text, FI_UDID_UNSAFE_FIELD);
  path += enclosure;
  const int result = verifyOrMake(path);
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

int CFiConfiguration::Heap::open_section(const ACE_Configuration_Section_Key& base,
                                         const ACE_TCHAR* name, bool create,
                                         ACE_Configuration_Section_Key& result) {
  const auto* above = dynamic_cast<const ACE_Configuration_Section_Key_Heap*>(
      get_internal_key(const_cast<ACE_Configuration_Section_Key&>(base)));
  const char* const path = above != nullptr ? above->path_ : "";
  if (path == nullptr) {  // ACE found no memory for it and did not look
    errno = ENOMEM;
    return kFailed;
  }
  const std::ptrdiff_t levels = levelsOf(path);
  if (levels + levelsOf(name) > kMostLevels) return kFailed;
  return ACE_Configuration_Heap::open_section(base, name, create, result);
}

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
  if (!m_opened || m_configFullPath.empty()) return kFailed;
  const std::string place = writablePlace(m_configFullPath.c_str());
  if (place.empty() || (m_isRejected && !keepRejected(place))) return kFailed;
  m_isRejected = false;
  CFiNewFile file(place);
  file.sweepFolder();
  if (!file.openLikeOld()) return kFailed;
  const char* const name = file.temporary().c_str();
  const int result = retryInterrupted(
      [&] { return unlessShort([&] { return ACE_Registry_ImpExp(m_heap).export_config(name); }); });
  if (result != 0) return result;
  return file.sync() && file.putInPlace() ? 0 : kFailed;
}

int CFiConfiguration::openSection(const ACE_Configuration_Section_Key& base, const char* name,
                                  ACE_Configuration_Section_Key& out, int create) {
  if (!m_opened || !isSectionName(name)) return kFailed;
  ACE_Configuration_Section_Key opened;
  const int result =
      unlessShort([&] { return m_heap.open_section(base, name, create != 0, opened); });
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
  return unlessShort([&] { return m_heap.get_string_value(m_currentSection, name, value); });
}

int CFiConfiguration::getStringValue(const char* section, const char* name, tstr& value) {
  ACE_Configuration_Section_Key key;
  const int result = openSection(section, key, 1);
  return result != 0 ? result : getStringValue(name, value);
}

int CFiConfiguration::setStringValue(const char* name, const tstr& value) {
  if (!m_opened || !isWritableKey(name) || !isWritableValue(value)) return kFailed;
  return unlessShort([&] { return m_heap.set_string_value(m_currentSection, name, value); });
}

int CFiConfiguration::getIntegerValue(const char* name, unsigned int& value) {
  if (!m_opened || name == nullptr) return kFailed;
  return unlessShort([&] { return m_heap.get_integer_value(m_currentSection, name, value); });
}

int CFiConfiguration::getIntegerValue(const char* section, const char* name, unsigned int& value) {
  ACE_Configuration_Section_Key key;
  const int result = openSection(section, key, 1);
  return result != 0 ? result : getIntegerValue(name, value);
}

int CFiConfiguration::setIntegerValue(const char* name, unsigned int value) {
  if (!m_opened || !isWritableKey(name)) return kFailed;
  return unlessShort([&] { return m_heap.set_integer_value(m_currentSection, name, value); });
}

std::vector<tstr> CFiConfiguration::enumerateSections(const ACE_Configuration_Section_Key& key) {
  std::vector<std::string> found;
  tstr name;
  int index = 0;
  const auto next = [&] { return m_heap.enumerate_sections(key, index++, name); };
  while (m_opened && unlessShort(next) == 0) found.push_back(CFiStringTool::tstr2str(name));
  std::vector<tstr> names;
  names.reserve(found.size());
  for (const std::string& each : found) appendTstr(names, each);
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
  if (openSection(requireCopied(section).c_str(), key, 1) == 0)
    importSections(key, openArray, result);

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
  m_isRejected = false;
  m_configFullPath.clear();
  assignTstr(m_configPath, textOrEmpty(path));
  assignTstr(m_configFile, textOrEmpty(file));
  assignTstr(m_configFullPath, std::string(textOrEmpty(path)) + textOrEmpty(file));
}

int CFiConfiguration::fail(int code, const char* message, int line, const char* function) {
  setLastError(code, message, kSourceFile, line, function);
  return code;
}

int CFiConfiguration::importFile() {
  struct stat info;
  // A FIFO would be waited for, and a device need not end.
  const bool isFile = stat(m_configFullPath.c_str(), &info) == 0 && S_ISREG(info.st_mode);
  if (!m_opened || !isFile) return kFailed;
  m_isRejected = true;
  const char* const name = m_configFullPath.c_str();
  const int result = retryInterrupted(
      [&] { return unlessShort([&] { return ACE_Registry_ImpExp(m_heap).import_config(name); }); });
  m_isRejected = result != 0;
  return result;
}

void CFiConfiguration::importSections(const ACE_Configuration_Section_Key& key, bool openArray,
                                      std::vector<SFiCredential>& result) {
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - inside opensection");
  const std::vector<tstr> names = enumerateSections();
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - found [%d] subsections.",
            static_cast<int>(names.size()));
  std::set<std::string> hosts;
  for (const SFiCredential& known : result) hosts.insert(hostKey(known.hostname));
  makeRoom(result, result.size() + names.size());
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
  if (hosts.insert(hostKey(record.hostname)).second) appendRecord(result, record);
}

int CFiConfigurationPathTool::verify(const char* path) {
  return path != nullptr ? access(path, F_OK) : -1;
}

int CFiConfigurationPathTool::getInstallPath(tstr& out) {
  char* text = nullptr;
  errno = 0;
  orca_get_install_root(&text);
  // The usual root in place of one for which memory was short would be another one.
  if (text == nullptr && errno == ENOMEM) throw std::bad_alloc();
  const std::unique_ptr<char, BufferReturner> root(text);
  assignTstr(out, root != nullptr ? root.get() : "/usr/tarn");
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
  setFileName("lib", name, "", file);
  return getDirectory("/resources/", dir);
}

int CFiConfigurationPathTool::getConfigFileInfo(const tstr& name, tstr& dir, tstr& file) {
  setFileName("", name, ".conf", file);
  return getDirectory("/lib/orca/configfiles/", dir);
}

int CFiConfigurationPathTool::getTraceFileInfo(const tstr& name, tstr& dir, tstr& file) {
  // Trace files of all install roots are gathered in one place.
  constexpr const char* kTraceDirectory = "/usr/tarn/keystone/logs/frzcmd/";
  setFileName("", name, ".log", file);
  verifyOrMake(kTraceDirectory);
  assignTstr(dir, kTraceDirectory);
  return 0;
}

}  // namespace orca_pdk_4_4
