#include "cfipblm.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "V_strings.h"
#include "cficonfiguration.h"
#include "cfidescriptor.h"
#include "cfiretry.h"
#include "cfistringtool.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr unsigned int kNumbers = 256;
constexpr const char* kNoMemoryInEnclMap = "CFiPblmOps::getEnclMap new memory alloc failure.";

void setBit(std::bitset<kNumbers>& bits, unsigned int n) {
  if (n >= kNumbers) throw std::out_of_range("bitset::set");
  bits.set(n);
}

// An id that is a file name, so that its directory lies within that of all enclosures. The empty id
// stands for devices without an enclosure.
bool isPlainName(const std::string& id) {
  constexpr std::string_view kForbidden("/\0", 2);
  return id != "." && id != ".." && id.find_first_of(kForbidden) == std::string::npos;
}

constexpr std::size_t kLineSize = 1024;
constexpr std::size_t kEntrySize = 1304;
// A record under way to its place. No walk of a directory looks at such a file.
constexpr const char* kTemporaryPrefix = ".new-";

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};

// The first line with its newline, as much of it as fits. Not waiting for what is no plain file: a
// stray FIFO must not stop the walk of a directory.
std::size_t readFirstLine(int fd, char (&line)[kLineSize]) {
  std::size_t used = 0;
  const char* newline = nullptr;
  while (newline == nullptr && used < kLineSize - 1) {
    const ssize_t got =
        retryInterrupted([&] { return read(fd, line + used, kLineSize - 1 - used); });
    if (got <= 0) break;
    newline = static_cast<const char*>(std::memchr(line + used, '\n', static_cast<size_t>(got)));
    used += static_cast<std::size_t>(got);
  }
  if (newline != nullptr) used = static_cast<std::size_t>(newline - line) + 1;
  line[used] = '\0';
  return used;
}

bool isRecordName(const char* name) {
  return std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0 &&
         std::strncmp(name, kTemporaryPrefix, std::strlen(kTemporaryPrefix)) != 0;
}

bool writeAll(int fd, const char* text) {
  std::size_t rest = std::strlen(text);
  while (rest > 0) {
    const ssize_t written = retryInterrupted([&] { return write(fd, text, rest); });
    if (written <= 0) return false;
    text += written;
    rest -= static_cast<std::size_t>(written);
  }
  return true;
}

// What is no plain file, has a second name or may not be written stays where it is and is written
// to.
bool isReplaceable(const std::string& path) {
  struct stat info;
  if (lstat(path.c_str(), &info) != 0) return true;
  return S_ISREG(info.st_mode) && info.st_nlink == 1 && access(path.c_str(), W_OK) == 0;
}

std::string temporaryName(const std::string& path) {
  static std::atomic<unsigned int> s_count{0};
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  return folder + kTemporaryPrefix + std::to_string(getpid()) + "-" + std::to_string(s_count++);
}

int openNew(const std::string& path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  const int fd = open(path.c_str(), kFlags, 0666);
  if (fd >= 0 || errno != EEXIST) return fd;
  // Left behind by a process of the same number.
  unlink(path.c_str());
  return open(path.c_str(), kFlags, 0666);
}

enum class EWritten { DONE, NOT_OPENED, NOT_WRITTEN };

EWritten writeInPlace(const std::string& path, const char* text) {
  CFiDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (file.get() < 0) return EWritten::NOT_OPENED;
  return writeAll(file.get(), text) && file.close() == 0 ? EWritten::DONE : EWritten::NOT_WRITTEN;
}

// The file is complete before it gets its name: no reader and no killed writer leaves half a
// record.
EWritten writeByRename(const std::string& path, const char* text) {
  const std::string temporary = temporaryName(path);
  CFiDescriptor file(openNew(temporary));
  if (file.get() < 0) return EWritten::NOT_OPENED;
  struct stat old;
  if (stat(path.c_str(), &old) == 0) static_cast<void>(fchmod(file.get(), old.st_mode & 07777));
  EWritten result = EWritten::NOT_WRITTEN;
  if (writeAll(file.get(), text) && fsync(file.get()) == 0 && file.close() == 0) {
    if (std::rename(temporary.c_str(), path.c_str()) == 0) return EWritten::DONE;
    result = EWritten::NOT_OPENED;
  }
  unlink(temporary.c_str());
  return result;
}

}  // namespace

CFiPblmOps::CFiPblmOps() = default;

CFiPblmOps::~CFiPblmOps() {
  while (m_maps != nullptr) {
    const std::unique_ptr<lunNum> gone(m_maps);
    m_maps = gone->next;
  }
}

uint32_t CFiPblmOps::getMinLunNum() const { return m_minLun; }

uint32_t CFiPblmOps::getMaxLunNum() const { return m_maxLun; }

void CFiPblmOps::setLunNumRange(unsigned int min, unsigned int max) {
  m_minLun = min;
  m_maxLun = std::min(max, kNumbers - 1);
  if (m_maxLun != max) {
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::setLunNumRange: bounding to higher limit of [%d].",
              static_cast<int>(m_maxLun));
  }
}

int CFiPblmOps::allocLunNumEle(lunNum** out) {
  if (out == nullptr) return FI_INVALID;
  std::unique_ptr<lunNum> map(new (std::nothrow) lunNum{});
  if (map == nullptr) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::allocLunNumEle: new memory allocation failure.");
    return FI_NO_MEMORY;
  }
  for (unsigned int n = 0; n < m_minLun; ++n) setBit(map->used, n);
  *out = map.release();
  return FI_OK;
}

int CFiPblmOps::getCacheRecord(char const* path, std::vector<std::string>& values) {
  const CFiDescriptor file(
      path == nullptr ? -1 : open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (file.get() < 0) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::getCacheRecord ERROR: fopen failure file=[%s]\n",
              path == nullptr ? "NULL" : path);
    return FI_FILE_ERROR;
  }
  char line[kLineSize];
  if (readFirstLine(file.get(), line) == 0) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::getCacheRecord ERROR: fgets failure with file=[%s]\n",
              path);
    return FI_FILE_ERROR;
  }
  values.emplace_back(line);
  traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getCacheRecord got Cache Record=[%s]\n", line);
  return FI_OK;
}

int CFiPblmOps::getKeyValue(char const* path, std::vector<std::string>& values) {
  return getCacheRecord(path, values);
}

int CFiPblmOps::getKeyValue(char const* path, int& value) {
  std::vector<std::string> values;
  const int error = getCacheRecord(path, values);
  if (error != FI_OK) return error;
  long number = 0;
  parseNumber(values.front(), number);
  value = static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
  return FI_OK;
}

int CFiPblmOps::setKeyValue(char const* path, std::vector<std::string> values, char const* enclId) {
  EWritten written = EWritten::NOT_OPENED;
  if (path != nullptr && values.empty()) {
    written = EWritten::NOT_WRITTEN;
  } else if (path != nullptr) {
    const char* text = values.front().c_str();
    if (isReplaceable(path)) written = writeByRename(path, text);
    // A directory that takes no new file may still hold a record that can be written.
    if (written == EWritten::NOT_OPENED) written = writeInPlace(path, text);
  }
  if (written == EWritten::DONE) return markNumber(values.front(), enclId);
  if (written == EWritten::NOT_OPENED) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::setKeyValue ERROR: fopen failure file=[%s]\n",
              path == nullptr ? "NULL" : path);
  } else {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::setKeyValue ERROR: fputs failure with file=[%s]\n",
              path);
  }
  return FI_FILE_ERROR;
}

int CFiPblmOps::setKeyValue(std::string const& enclId, tstr const& udid, std::string const&,
                            int lunNumber) {
  tstr key;
  try {
    CFiConfigurationPathTool::getDevKey(udid, key);
  } catch (const CFiUdidException&) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::setKeyValue ERROR: fopen failure file=[%s]\n",
              udid.c_str());
    return FI_FILE_ERROR;
  }
  const std::vector<std::string> values{CFiStringTool::int2str(lunNumber)};
  traceLine(FI_TRACE_DETAIL, "LUNNO passed to setKeyValue is [%d]", lunNumber);
  traceLine(FI_TRACE_DETAIL, " getdevKey returned [%s]", key.c_str());
  return setKeyValue(key.c_str(), values, enclId.c_str());
}

int CFiPblmOps::rmCacheRecord(char const* path) {
  if (path == nullptr || *path == '\0') {
    traceLine(FI_TRACE_ERROR, "INFO:CFiPblmOps::rmCacheRecord - key is empty, nothing to remove.");
    return FI_INVALID;
  }
  if (std::strstr(path, "/luns/") != nullptr) freeNumber(path);
  struct stat info;
  if (stat(path, &info) != 0) return FI_OK;
  if (unlink(path) == 0) {
    traceLine(FI_TRACE_INFO, "INFO:CFiPblmOps::rmCacheRecord file=[%s] removed successfully", path);
    return FI_OK;
  }
  traceLine(FI_TRACE_INFO, "INFO:CFiPblmOps::rmCacheRecord failure for removing file=[%s]", path);
  return FI_FILE_ERROR;
}

int CFiPblmOps::rmLunPathRecord(std::string file, tstr dir, std::string, unsigned int* lunNumber) {
  if (lunNumber == nullptr) return FI_INVALID;
  const std::string path = CFiStringTool::tstr2str(dir) + file;
  long number = 0;
  const int error = readNumber(path.c_str(), number);
  if (error != FI_OK) {
    traceLine(FI_TRACE_ERROR,
              "CFiPblmOps::rmLunPathRecord : getCacheRecord returned err=[%d]. Cannot remove the "
              "cache record.",
              error);
    return error;
  }
  if (number != static_cast<long>(*lunNumber)) return FI_OK;
  const int shown = static_cast<int>(number);
  traceLine(FI_TRACE_DETAIL, "CFiPblmOps::rmLunPathRecord got cache record for lun num [%d].",
            shown);
  const int removed = rmCacheRecord(path.c_str());
  if (removed == FI_OK) {
    traceLine(FI_TRACE_DETAIL,
              "CFiPblmOps::rmLunPathRecord successfully removed cache record for lun num [%d].",
              shown);
  } else {
    traceLine(FI_TRACE_ERROR,
              "CFiPblmOps::rmLunPathRecord failed to remove cache record for lun num [%d].", shown);
  }
  const int handleRemoved = removeDeviceHandle(file);
  return removed != FI_OK ? removed : handleRemoved;
}

int CFiPblmOps::rmLunCacheRecord(char const* enclId, unsigned int lunNumber) {
  if (enclId == nullptr || *enclId == '\0') {
    traceLine(FI_TRACE_INFO,
              "INFO:CFiPblmOps::rmLunCacheRecord - enclId is empty, cannot identify the cache "
              "record.");
    return FI_INVALID;
  }
  if (!isInRange(lunNumber)) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::rmLunCacheRecord invalid lun num [%d] specified.\n",
              static_cast<int>(lunNumber));
    return FI_INVALID;
  }
  if (refreshCache(enclId, &lunNumber)) return FI_OK;
  traceLine(FI_TRACE_ERROR,
            "CFiPblmOps::rmLunCacheRecord refreshCache returned failure for lun num [%d].\n",
            static_cast<int>(lunNumber));
  return FI_FILE_ERROR;
}

void CFiPblmOps::fillBitMap(std::string path, std::string enclId) {
  lunNum* map = m_maps;
  while (map != nullptr && map->enclosureId != enclId) map = map->next;
  if (map == nullptr) map = addMap(enclId, "CFiPblmOps::fillBitMap new memory alloc failure.");
  if (map == nullptr) return;
  long number = 0;
  const int error = readNumber(path.c_str(), number);
  if (error != FI_OK) {
    traceLine(FI_TRACE_WARNING, "CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[%d].",
              error);
  } else if (isInRange(number)) {
    setBit(map->used, static_cast<unsigned int>(number));
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::fillBitMap has set lun num [%d] in the lun map.",
              static_cast<int>(number));
  }
}

bool CFiPblmOps::scanCache(std::string enclId, tstr dir, unsigned int* lunNumber) {
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir(dir.c_str()));
  if (directory == nullptr) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::refreshCache opendir failure for path=[%s].",
              dir.c_str());
    return false;
  }
  const std::unique_ptr<char, FreeMemory> name(static_cast<char*>(std::malloc(kEntrySize)));
  if (name == nullptr) {
    traceLine(FI_TRACE_INFO, "CFiPblmOps::scanCache malloc failure.\n");
    return false;
  }
  const std::string folder = CFiStringTool::tstr2str(dir);
  while (const dirent* entry = readdir(directory.get())) {
    V_strlcpy(name.get(), entry->d_name, kEntrySize);
    if (!isRecordName(name.get())) continue;
    if (lunNumber != nullptr) {
      rmLunPathRecord(name.get(), dir, enclId, lunNumber);
    } else {
      fillBitMap(folder + name.get(), enclId);
    }
  }
  return true;
}

bool CFiPblmOps::refreshCache(std::string enclId, unsigned int* lunNumber) {
  tstr cache;
  CFiConfigurationPathTool::getCacheLocationInfo(cache);
  const std::string dir = CFiStringTool::tstr2str(cache) + "luns/" + enclId + "/";
  bool isRead = false;
  if (isPlainName(enclId)) {
    isRead = scanCache(enclId, CFiStringTool::str2tstr(dir), lunNumber);
  } else {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::refreshCache opendir failure for path=[%s].",
              dir.c_str());
  }
  if (!isRead) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::refreshCache scanCache returned false.");
  }
  return isRead;
}

bool CFiPblmOps::getEnclMap(char const* enclId, lunNum** map) {
  if (enclId == nullptr || map == nullptr) return false;
  if (m_maps == nullptr) {
    if (!refreshCache(enclId, nullptr)) {
      traceLine(FI_TRACE_ERROR, "CFiPblmOps::getEnclMap refreshCache returned false.");
      return false;
    }
    if (m_maps == nullptr && addMap(enclId, kNoMemoryInEnclMap) == nullptr) return false;
  }
  lunNum* found = m_maps;
  while (found != nullptr && !CFiStringTool::CompareNoCase(found->enclosureId, enclId)) {
    found = found->next;
  }
  if (found != nullptr) {
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getEnclMap got Lun Map for enclId=[%s].\n", enclId);
  } else {
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getEnclMap No Lun Map for enclId=[%s].\n", enclId);
    found = addMap(enclId, kNoMemoryInEnclMap);
    if (found == nullptr) return false;
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getEnclMap Added a Lun Map for enclId=[%s].\n", enclId);
  }
  *map = found;
  return true;
}

bool CFiPblmOps::getNewLunNum(char const* enclId, std::vector<std::string>& out) {
  lunNum* map = nullptr;
  if (!getEnclMap(enclId, &map)) {
    traceLine(FI_TRACE_WARNING, "CFiPblmOps::getNewLunNum No Lun map present on the system.\n");
    return false;
  }
  bool isFound = false;
  for (unsigned int n = m_minLun; n <= m_maxLun; ++n) {
    if (map->used.test(n)) continue;
    char text[1024];
    V_snprintf(text, sizeof text, "%d", static_cast<int>(n));
    out.emplace_back(text);
    if (!isFound) {
      traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getNewLunNum got first Lun num=[%d].\n",
                static_cast<int>(n));
    }
    isFound = true;
  }
  if (!isFound) {
    traceLine(FI_TRACE_DETAIL,
              "CFiPblmOps::getNewLunNum LUN num not able to find free LUN num .\n");
  }
  return isFound;
}

bool CFiPblmOps::getNewValue(char const* enclId, std::vector<std::string>& out) {
  if (!getNewLunNum(enclId, out)) {
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getNewValue - Unable to suggest a new LUN Number.\n");
  }
  return true;
}

bool CFiPblmOps::getNewValue(char const* enclId, std::vector<int>& out) {
  std::vector<std::string> texts;
  const bool result = getNewValue(enclId, texts);
  for (const std::string& text : texts) out.push_back(CFiStringTool::str2int(text));
  return result;
}

void CFiPblmOps::resetLunNum(char const* path, unsigned int lunNumber) {
  if (path == nullptr) return;
  for (lunNum* map = m_maps; map != nullptr; map = map->next) {
    if (std::strstr(path, map->enclosureId.c_str()) == nullptr) continue;
    if (lunNumber >= kNumbers) throw std::out_of_range("bitset::reset");
    map->used.reset(lunNumber);
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::resetLunNum has reset lun num [%d] in the lun map.\n",
              static_cast<int>(lunNumber));
    return;
  }
}

// Reads a number at the start of a text; one that does not fit becomes the largest. False when
// there is no digit.
bool CFiPblmOps::parseNumber(const std::string& text, long& number) {
  char* end = nullptr;
  number = std::strtol(text.c_str(), &end, 10);
  return end != text.c_str();
}

bool CFiPblmOps::isInRange(long number) const {
  return number >= static_cast<long>(m_minLun) && number <= static_cast<long>(m_maxLun);
}

// Makes an enclosure's map at the end of the list. Null, with the given trace line, without memory.
lunNum* CFiPblmOps::addMap(const std::string& enclId, const char* failure) {
  lunNum* map = nullptr;
  if (allocLunNumEle(&map) != FI_OK) {
    traceLine(FI_TRACE_ERROR, "%s", failure);
    return nullptr;
  }
  lunNum** end = &m_maps;
  while (*end != nullptr) end = &(*end)->next;
  *end = map;
  map->enclosureId = enclId;
  return map;
}

// The number of a record; a record without one counts as unreadable.
int CFiPblmOps::readNumber(const char* path, long& number) {
  std::vector<std::string> values;
  const int error = getCacheRecord(path, values);
  if (error != FI_OK) return error;
  return parseNumber(values.front(), number) ? FI_OK : FI_FILE_ERROR;
}

// Marks a number that was written to a file: the second half of setKeyValue.
int CFiPblmOps::markNumber(const std::string& value, char const* enclId) {
  if (enclId == nullptr) {
    traceLine(FI_TRACE_WARNING,
              "CFiPblmOps::setKeyValue : No entry to be set in the bit Map because enclosureId is "
              "passed as NULL.\n");
    return FI_INVALID;
  }
  lunNum* map = nullptr;
  long number = 0;
  if (!getEnclMap(enclId, &map)) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[%s].\n",
              enclId);
  } else if (parseNumber(value, number) && isInRange(number)) {
    setBit(map->used, static_cast<unsigned int>(number));
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::setKeyValue has set lun num [%d] in the lun map.\n",
              static_cast<int>(number));
  }
  return FI_OK;
}

// Clears the mark of the number that a LUN record holds.
void CFiPblmOps::freeNumber(const char* path) {
  long number = 0;
  const int error = readNumber(path, number);
  if (error != FI_OK) {
    traceLine(FI_TRACE_ERROR,
              "CFiPblmOps::rmCacheRecord ignore failure in getCacheRecord err=[%d].", error);
  } else if (isInRange(number)) {
    resetLunNum(path, static_cast<unsigned int>(number));
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::rmCacheRecord has reset lun num [%d] in the lun map.",
              static_cast<int>(number));
  }
}

// Removes the device-handle record of a device. A file name that is no device identifier has none
// that could be removed.
int CFiPblmOps::removeDeviceHandle(const std::string& udid) {
  tstr key = CFiStringTool::str2tstr(udid);
  int removed = FI_FILE_ERROR;
  try {
    CFiConfigurationPathTool::getDevKey(CFiStringTool::str2tstr(udid), key);
    removed = rmCacheRecord(key.c_str());
  } catch (const CFiUdidException&) {
    key = CFiStringTool::str2tstr(udid);
  }
  if (removed == FI_OK) {
    traceLine(FI_TRACE_DETAIL,
              "CFiPblmOps::rmLunPathRecord successfully removed cache record for devicepath=[%s].",
              key.c_str());
  } else {
    traceLine(FI_TRACE_ERROR,
              "CFiPblmOps::rmLunPathRecord failed to remove cache record for devicepath=[%s].",
              key.c_str());
  }
  return removed;
}

}  // namespace orca_pdk_4_4
