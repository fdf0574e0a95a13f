#include "cfipblm.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>

#include "V_strings.h"
#include "cficachepath.h"
#include "cficonfiguration.h"
#include "cfideleters.h"
#include "cfidescriptor.h"
#include "cfinewfile.h"
#include "cfiretry.h"
#include "cfistringtool.h"
#include "cfitracelog.h"
#include "cfitstr.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr unsigned int kNumbers = 256;

void setBit(std::bitset<kNumbers>& bits, unsigned int n) {
  if (n >= kNumbers) throw std::out_of_range("bitset::set");
  bits.set(n);
}

constexpr std::size_t kEntrySize = 1304;

// The answer to a shortage of memory in an action that leaves everything as it was then.
template <class Action>
auto unlessShort(std::invoke_result_t<Action> result, Action action) {
  try {
    return action();
  } catch (const std::bad_alloc&) {
    return result;
  }
}

// Not waiting for what is no plain file: a stray FIFO must not stop the walk of a directory.
constexpr int kOpenFlags = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

int openFile(const char* path, int flags) {
  return retryInterrupted([&] { return open(path, flags | kOpenFlags, 0666); });
}

DIR* openDirectory(const char* path) {
  const int fd = openFile(path, O_RDONLY | O_DIRECTORY);
  DIR* const directory = fd < 0 ? nullptr : fdopendir(fd);
  if (directory == nullptr && fd >= 0) close(fd);
  return directory;
}

// The first line with its newline, as much of it as fits; 0 when it cannot be read.
template <std::size_t size>
std::size_t readFirstLine(int fd, char (&line)[size]) {
  std::size_t used = 0;
  const char* newline = nullptr;
  while (newline == nullptr && used < size - 1) {
    const ssize_t got = retryInterrupted([&] { return read(fd, line + used, size - 1 - used); });
    if (got < 0) return 0;
    if (got == 0) break;
    newline = static_cast<const char*>(std::memchr(line + used, '\n', static_cast<size_t>(got)));
    used += static_cast<std::size_t>(got);
  }
  if (newline != nullptr) used = static_cast<std::size_t>(newline - line) + 1;
  line[used] = '\0';
  return used;
}

bool isFolderItself(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// What is no plain file, has a second name or may not be written stays where it is and is written
// to.
bool isReplaceable(const char* path) {
  struct stat info;
  if (lstat(path, &info) != 0) return true;
  return S_ISREG(info.st_mode) && info.st_nlink == 1 && access(path, W_OK) == 0;
}

enum class EWritten { DONE, NOT_OPENED, NOT_WRITTEN };

EWritten writeInPlace(const char* path, const std::string& text) {
  CFiDescriptor file(openFile(path, O_WRONLY | O_CREAT | O_TRUNC));
  if (file.get() < 0) return EWritten::NOT_OPENED;
  const bool isWritten = writeAll(file.get(), text.c_str(), std::strlen(text.c_str()));
  return isWritten && file.close() == 0 ? EWritten::DONE : EWritten::NOT_WRITTEN;
}

EWritten writeByRename(const char* path, const std::string& text) {
  CFiNewFile file(path);
  if (!file.openLikeOld()) return EWritten::NOT_OPENED;
  if (!writeAll(file.fd(), text.c_str(), std::strlen(text.c_str())) || !file.sync()) {
    return EWritten::NOT_WRITTEN;
  }
  return file.putInPlace() ? EWritten::DONE : EWritten::NOT_OPENED;
}

// True when the folder, not the disk, stood in the way: it takes no new file, or the record is a
// mount of its own or belongs to somebody else.
bool isFolderClosed(int cause) { return cause == EACCES || cause == EPERM || cause == EBUSY; }

EWritten writeRecord(const char* path, const std::vector<std::string>& values) {
  errno = EINVAL;
  if (path == nullptr) return EWritten::NOT_OPENED;
  if (values.empty()) return EWritten::NOT_WRITTEN;
  if (isReplaceable(path)) {
    const EWritten written = writeByRename(path, values.front());
    if (written != EWritten::NOT_OPENED || !isFolderClosed(errno)) return written;
  }
  return writeInPlace(path, values.front());
}

// A number at the start of a text, 0 without a digit; one that does not fit becomes the largest.
long numberIn(const char* text) { return std::strtol(text, nullptr, 10); }

// Path of the device-handle record of a device; empty for a text that is no device identifier.
std::string deviceKey(const std::string& udid) {
  tstr key;
  try {
    CFiConfigurationPathTool::getDevKey(makeTstr(udid), key);
  } catch (const CFiUdidException&) {
    return {};
  }
  return CFiStringTool::tstr2str(key);
}

}  // namespace

CFiPblmOps::CFiPblmOps() = default;

CFiPblmOps::~CFiPblmOps() { freeMaps(); }

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
  char line[kLineSize];
  const int error = readRecord(path, line);
  if (error != FI_OK) return error;
  return unlessShort(FI_NO_MEMORY, [&]() -> int {
    values.emplace_back(line);
    return FI_OK;
  });
}

int CFiPblmOps::getKeyValue(char const* path, std::vector<std::string>& values) {
  return getCacheRecord(path, values);
}

int CFiPblmOps::getKeyValue(char const* path, int& value) {
  long number = 0;
  const int error = readNumber(path, number);
  if (error == FI_OK) value = static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
  return error;
}

int CFiPblmOps::setKeyValue(char const* path, std::vector<std::string> values, char const* enclId) {
  return unlessShort(FI_NO_MEMORY, [&]() -> int {
    // Made before anything is written, so that nothing is left undone for it.
    const std::string id = enclId != nullptr ? enclId : "";
    const EWritten written = writeRecord(path, values);
    if (written == EWritten::DONE) {
      return markNumber(values.front().c_str(), enclId != nullptr ? &id : nullptr);
    }
    const char* const file = path != nullptr ? path : "NULL";
    traceCause("setKeyValue", file);
    traceLine(FI_TRACE_ERROR,
              written == EWritten::NOT_OPENED
                  ? "CFiPblmOps::setKeyValue ERROR: fopen failure file=[%s]\n"
                  : "CFiPblmOps::setKeyValue ERROR: fputs failure with file=[%s]\n",
              file);
    return FI_FILE_ERROR;
  });
}

int CFiPblmOps::setKeyValue(std::string const& enclId, tstr const& udid, std::string const&,
                            int lunNumber) {
  return unlessShort(FI_NO_MEMORY, [&]() -> int {
    const std::string key = deviceKey(CFiStringTool::tstr2str(udid));
    if (key.empty()) {
      traceLine(FI_TRACE_ERROR, "CFiPblmOps::setKeyValue ERROR: fopen failure file=[%s]\n",
                udid.c_str());
      return FI_FILE_ERROR;
    }
    traceLine(FI_TRACE_DETAIL, "LUNNO passed to setKeyValue is [%d]", lunNumber);
    traceLine(FI_TRACE_DETAIL, " getdevKey returned [%s]", key.c_str());
    return setKeyValue(key.c_str(), {CFiStringTool::int2str(lunNumber)}, enclId.c_str());
  });
}

int CFiPblmOps::rmCacheRecord(char const* path) {
  if (path == nullptr || *path == '\0') {
    traceLine(FI_TRACE_ERROR, "INFO:CFiPblmOps::rmCacheRecord - key is empty, nothing to remove.");
    return FI_INVALID;
  }
  if (std::strstr(path, "/luns/") != nullptr) freeNumber(path);
  struct stat info;
  const bool isThere = stat(path, &info) == 0;
  if (!isThere && (errno == ENOENT || errno == ENOTDIR)) return FI_OK;
  if (isThere && retryInterrupted([&] { return unlink(path); }) == 0) {
    traceLine(FI_TRACE_INFO, "INFO:CFiPblmOps::rmCacheRecord file=[%s] removed successfully", path);
    return FI_OK;
  }
  traceCause("rmCacheRecord", path);
  traceLine(FI_TRACE_INFO, "INFO:CFiPblmOps::rmCacheRecord failure for removing file=[%s]", path);
  return FI_FILE_ERROR;
}

int CFiPblmOps::rmLunPathRecord(std::string file, tstr dir, std::string, unsigned int* lunNumber) {
  if (lunNumber == nullptr) return FI_INVALID;
  return unlessShort(FI_NO_MEMORY, [&] {
    return removeNumber(CFiStringTool::tstr2str(requireCopied(dir)), file, *lunNumber);
  });
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
  if (unlessShort(false, [&] { return refresh(enclId, &lunNumber); })) return FI_OK;
  traceLine(FI_TRACE_ERROR,
            "CFiPblmOps::rmLunCacheRecord refreshCache returned failure for lun num [%d].\n",
            static_cast<int>(lunNumber));
  return FI_FILE_ERROR;
}

void CFiPblmOps::fillBitMap(std::string path, std::string enclId) { markRecord(path, enclId); }

bool CFiPblmOps::scanCache(std::string enclId, tstr dir, unsigned int* lunNumber) {
  return unlessShort(
      false, [&] { return walk(enclId, CFiStringTool::tstr2str(requireCopied(dir)), lunNumber); });
}

bool CFiPblmOps::refreshCache(std::string enclId, unsigned int* lunNumber) {
  return refresh(enclId, lunNumber);
}

bool CFiPblmOps::getEnclMap(char const* enclId, lunNum** map) {
  if (enclId == nullptr || map == nullptr) return false;
  return unlessShort(false, [&] {
    lunNum* const found = findOrMakeMap(enclId);
    if (found != nullptr) *map = found;
    return found != nullptr;
  });
}

bool CFiPblmOps::getNewLunNum(char const* enclId, std::vector<std::string>& out) {
  lunNum* map = nullptr;
  if (!getEnclMap(enclId, &map)) {
    traceLine(FI_TRACE_WARNING, "CFiPblmOps::getNewLunNum No Lun map present on the system.\n");
    return false;
  }
  const auto makeRoom = [&] {
    out.reserve(out.size() + kNumbers);
    return true;
  };
  if (!unlessShort(false, makeRoom)) return false;
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
  unlessShort(false, [&] {
    out.reserve(out.size() + texts.size());
    for (const std::string& text : texts) out.push_back(CFiStringTool::str2int(text));
    return true;
  });
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

// A line that finds no memory is left out: what it tells of is done, or failed, all the same.
void CFiPblmOps::traceLine(int level, const char* format, ...) const noexcept {
  if (!getTraceLog()) return;
  va_list args;
  va_start(args, format);
  unlessShort(false, [&] {
    getTraceLog()->vtrace(level, format, args);
    return true;
  });
  va_end(args);
}

bool CFiPblmOps::isInRange(long number) const {
  return number >= static_cast<long>(m_minLun) && number <= static_cast<long>(m_maxLun);
}

// Makes an enclosure's map at the end of the list. Null, with the given trace line, without memory.
lunNum* CFiPblmOps::addMap(const std::string& enclId, const char* failure) {
  lunNum* made = nullptr;
  const bool isMade = unlessShort(false, [&] {
    if (allocLunNumEle(&made) != FI_OK) return false;
    made->enclosureId = enclId;
    return true;
  });
  std::unique_ptr<lunNum> map(made);
  if (!isMade) {
    traceLine(FI_TRACE_ERROR, "%s", failure);
    return nullptr;
  }
  lunNum** end = &m_maps;
  while (*end != nullptr) end = &(*end)->next;
  *end = map.get();
  return map.release();
}

// Says why the system refused something, beside the line that says what failed.
void CFiPblmOps::traceCause(const char* operation, const char* path) const {
  const char* const cause = strerrordesc_np(errno);
  traceLine(FI_TRACE_ERROR, "CFiPblmOps::%s ERROR: %s: [%s]", operation,
            cause != nullptr ? cause : "unknown error", path);
}

// The map of an enclosure; the first one is read from its files. Null when that fails.
lunNum* CFiPblmOps::findOrMakeMap(const std::string& enclId) {
  constexpr const char* kNoMemory = "CFiPblmOps::getEnclMap new memory alloc failure.";
  if (m_maps == nullptr) {
    if (!refresh(enclId, nullptr)) {
      freeMaps();  // read in part, they would never be read again
      traceLine(FI_TRACE_ERROR, "CFiPblmOps::getEnclMap refreshCache returned false.");
      return nullptr;
    }
    if (m_maps == nullptr && addMap(enclId, kNoMemory) == nullptr) return nullptr;
  }
  lunNum* found = m_maps;
  while (found != nullptr && !CFiStringTool::CompareNoCase(found->enclosureId, enclId)) {
    found = found->next;
  }
  const char* const id = enclId.c_str();
  if (found != nullptr) {
    traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getEnclMap got Lun Map for enclId=[%s].\n", id);
    return found;
  }
  traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getEnclMap No Lun Map for enclId=[%s].\n", id);
  found = addMap(enclId, kNoMemory);
  if (found == nullptr) return nullptr;
  traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getEnclMap Added a Lun Map for enclId=[%s].\n", id);
  return found;
}

void CFiPblmOps::freeMaps() {
  while (m_maps != nullptr) {
    const std::unique_ptr<lunNum> gone(m_maps);
    m_maps = gone->next;
  }
}

int CFiPblmOps::readRecord(const char* path, char (&line)[kLineSize]) {
  const CFiDescriptor file(path == nullptr ? -1 : openFile(path, O_RDONLY));
  if (file.get() < 0) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::getCacheRecord ERROR: fopen failure file=[%s]\n",
              path == nullptr ? "NULL" : path);
    return FI_FILE_ERROR;
  }
  if (readFirstLine(file.get(), line) == 0) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::getCacheRecord ERROR: fgets failure with file=[%s]\n",
              path);
    return FI_FILE_ERROR;
  }
  traceLine(FI_TRACE_DETAIL, "CFiPblmOps::getCacheRecord got Cache Record=[%s]\n", line);
  return FI_OK;
}

int CFiPblmOps::readNumber(const char* path, long& number) {
  char line[kLineSize];
  const int error = readRecord(path, line);
  if (error == FI_OK) number = numberIn(line);
  return error;
}

// Walks the directory of an enclosure.
bool CFiPblmOps::refresh(const std::string& enclId, const unsigned int* lunNumber) {
  const bool isRead = unlessShort(false, [&] {
    tstr cache;
    CFiConfigurationPathTool::getCacheLocationInfo(cache);
    const std::string dir = CFiStringTool::tstr2str(cache) + "luns/" + enclId + "/";
    if (!leadsOutside(enclId)) return walk(enclId, dir, lunNumber);
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::refreshCache opendir failure for path=[%s].",
              dir.c_str());
    return false;
  });
  if (!isRead) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::refreshCache scanCache returned false.");
  }
  return isRead;
}

// Walks the files of a directory: marks their numbers or, when one is given, removes the records
// that hold it. False when the directory cannot be read to its end.
bool CFiPblmOps::walk(const std::string& enclId, const std::string& folder,
                      const unsigned int* lunNumber) {
  const std::unique_ptr<DIR, CFiCloseDirectory> directory(openDirectory(folder.c_str()));
  if (directory == nullptr) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::refreshCache opendir failure for path=[%s].",
              folder.c_str());
    return false;
  }
  const std::unique_ptr<char, CFiFreeMemory> name(static_cast<char*>(std::malloc(kEntrySize)));
  if (name == nullptr) {
    traceLine(FI_TRACE_INFO, "CFiPblmOps::scanCache malloc failure.\n");
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(directory.get());
    if (entry == nullptr) break;
    V_strlcpy(name.get(), entry->d_name, kEntrySize);
    if (!visit(enclId, folder, name.get(), lunNumber)) return false;
  }
  if (errno == 0) return true;
  traceCause("scanCache", folder.c_str());
  return false;
}

// Deals with one name of a walk. False when there is no memory for the enclosure's map.
bool CFiPblmOps::visit(const std::string& enclId, const std::string& folder, const char* name,
                       const unsigned int* lunNumber) {
  if (isFolderItself(name) || CFiNewFile::sweep(folder, name)) return true;
  if (lunNumber == nullptr) return markRecord(folder + name, enclId);
  removeNumber(folder, name, *lunNumber);
  return true;
}

// Marks the number of one file. False when there is no memory for the enclosure's map.
bool CFiPblmOps::markRecord(const std::string& path, const std::string& enclId) {
  lunNum* map = m_maps;
  while (map != nullptr && map->enclosureId != enclId) map = map->next;
  if (map == nullptr) map = addMap(enclId, "CFiPblmOps::fillBitMap new memory alloc failure.");
  if (map == nullptr) return false;
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
  return true;
}

// Removes the LUN record and the device-handle record of a device that has the number.
int CFiPblmOps::removeNumber(const std::string& folder, const std::string& file,
                             unsigned int lunNumber) {
  const std::string path = folder + file;
  long number = 0;
  const int error = readNumber(path.c_str(), number);
  if (error != FI_OK) {
    traceLine(FI_TRACE_ERROR,
              "CFiPblmOps::rmLunPathRecord : getCacheRecord returned err=[%d]. Cannot remove the "
              "cache record.",
              error);
    return error;
  }
  if (number != static_cast<long>(lunNumber)) return FI_OK;
  // Made before anything is removed, so that nothing is left undone for it.
  const std::string key = deviceKey(file);
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
  const int handleRemoved = removeDeviceHandle(file, key);
  return removed != FI_OK ? removed : handleRemoved;
}

// Marks a number that was written to a file: the second half of setKeyValue.
int CFiPblmOps::markNumber(const char* value, const std::string* enclId) {
  if (enclId == nullptr) {
    traceLine(FI_TRACE_WARNING,
              "CFiPblmOps::setKeyValue : No entry to be set in the bit Map because enclosureId is "
              "passed as NULL.\n");
    return FI_INVALID;
  }
  lunNum* const map = findOrMakeMap(*enclId);
  const long number = numberIn(value);
  if (map == nullptr) {
    traceLine(FI_TRACE_ERROR, "CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[%s].\n",
              enclId->c_str());
  } else if (isInRange(number)) {
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

// Removes the device-handle record of a device. A file name that is no device identifier has no key
// and none that could be removed.
int CFiPblmOps::removeDeviceHandle(const std::string& udid, const std::string& key) {
  const int removed = key.empty() ? static_cast<int>(FI_FILE_ERROR) : rmCacheRecord(key.c_str());
  const char* const shown = key.empty() ? udid.c_str() : key.c_str();
  if (removed == FI_OK) {
    traceLine(FI_TRACE_DETAIL,
              "CFiPblmOps::rmLunPathRecord successfully removed cache record for devicepath=[%s].",
              shown);
  } else {
    traceLine(FI_TRACE_ERROR,
              "CFiPblmOps::rmLunPathRecord failed to remove cache record for devicepath=[%s].",
              shown);
  }
  return removed;
}

}  // namespace orca_pdk_4_4
