#include "cfipblm.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "V_strings.h"
#include "cficonfiguration.h"
#include "cfistringtool.h"

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

bool CFiPblmOps::isInRange(long number) const {
  return number >= static_cast<long>(m_minLun) && number <= static_cast<long>(m_maxLun);
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

}  // namespace orca_pdk_4_4
