#include "mapping.h"

#include <cficonfiguration.h>
#include <cfifilelock.h>
#include <cfipblm.h>
#include <cfistringtool.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>

#include "failure.h"

namespace arraysnap {

using namespace orca_pdk;

namespace {

// Keeps other processes from choosing numbers of the same enclosure: the LUN cache has no lock. The
// file stands beside the enclosures' folders, in which each file is a record.
CFiFileLock locked(const std::filesystem::path& folder) {
  const std::filesystem::path path = folder.parent_path() / (".lock-" + folder.filename().string());
  try {
    return CFiFileLock(AT_FDCWD, path);
  } catch (const CFiLockHeld& held) {
    throw Failure{"ARRAYSNAP_LOCKED", {path, held.process()}};
  } catch (const std::system_error& error) {
    throw Failure{"ARRAYSNAP_NO_CACHE", {path, error.code().message()}};
  }
}

std::string cacheKey(const Device& device) {
  tstr key;
  // -1 only says that the enclosure's directory was made just now.
  CFiConfigurationPathTool::getLunKey(CFiStringTool::str2tstr(device.udid), key);
  return CFiStringTool::tstr2str(key);
}

// The LUN number of a device in the cache of this host.
class LunNumber {
 public:
  LunNumber(const Device& device, const CFiTraceLogPtr& log)
      : m_device(device),
        m_key(cacheKey(device)),
        m_lock(locked(std::filesystem::path(m_key).parent_path())) {
    m_cache.registerTraceLog(log);
  }

  // The remembered number, or the lowest free one, which is remembered before anybody uses it.
  int take() {
    int number = -1;
    const bool isKnown = CFiConfigurationPathTool::verify(m_key.c_str()) == 0;
    if (isKnown && m_cache.getKeyValue(m_key.c_str(), number) == 0) return number;
    m_isNew = true;
    return remember(lowestFree({}));
  }

  // Goes by what the array says after it refused a number: the number under which one of the hosts
  // sees the device already, or the lowest one that is free there as well. The record of such a
  // number was lost, or another host's cache gave it away.
  int settle(const Reply& list, const std::vector<std::string>& hosts) {
    std::set<int> taken;
    const std::string* device = nullptr;
    for (const auto& [key, value] : list.lines) {
      if (key == "device") device = &value;
      if (key != "mapping" || device == nullptr) continue;
      const std::size_t colon = value.rfind(':');
      const int number = std::atoi(value.c_str() + colon + 1);
      const bool isHosts =
          std::find(hosts.begin(), hosts.end(), value.substr(0, colon)) != hosts.end();
      const bool isOwn = CFiStringTool::CompareNoCase(*device, m_device.name);
      if (isHosts && isOwn) {
        m_isNew = false;
        return remember(number);
      }
      taken.insert(number);
    }
    return remember(lowestFree(taken));
  }

  bool isNew() const { return m_isNew; }

  void giveBack() {
    errno = 0;
    if (m_cache.rmCacheRecord(m_key.c_str()) != 0) failOnCache();
  }

 private:
  int lowestFree(const std::set<int>& taken) {
    std::vector<int> free;
    m_cache.getNewValue(m_device.enclosure.c_str(), free);
    std::erase_if(free, [&](int number) { return taken.count(number) != 0; });
    if (free.empty()) throw Failure{"ARRAYSNAP_NO_LUN", {m_device.enclosure}};
    return free.front();
  }

  int remember(int number) {
    errno = 0;
    const char* const enclosure = m_device.enclosure.c_str();
    if (m_cache.setKeyValue(m_key.c_str(), {std::to_string(number)}, enclosure)) failOnCache();
    return number;
  }

  [[noreturn]] void failOnCache() const {
    const std::string cause = errno != 0 ? std::generic_category().message(errno) : "trace log";
    throw Failure{"ARRAYSNAP_NO_CACHE", {m_key, cause}};
  }

  const Device& m_device;
  std::string m_key;
  CFiFileLock m_lock;
  // New for each use: it reads the records of the first enclosure that it is asked for.
  CFiPblmOps m_cache;
  bool m_isNew = false;
};

Reply unmap(const ArrayTool& tool, const Device& device, const std::string& host) {
  return tool.run({"unmap", device.enclosure, device.name, host});
}

// True when the device is certainly unmapped from all of the hosts.
bool undo(const ArrayTool& tool, const Device& device, const std::vector<std::string>& hosts) {
  bool isDone = true;
  for (const std::string& host : hosts) {
    try {
      unmap(tool, device, host);
    } catch (...) {
      isDone = false;
    }
  }
  return isDone;
}

// Maps the device for all hosts or none. Where that is not certain the failure says so.
std::string mapAs(const ArrayTool& tool, const Device& device,
                  const std::vector<std::string>& hosts, int number,
                  const std::function<void(const std::string& path)>& ready) {
  std::vector<std::string> mapped;
  std::string path;
  try {
    for (const std::string& host : hosts) {
      const Reply reply =
          tool.run({"map", device.enclosure, device.name, host, std::to_string(number)});
      if (reply.at("changed") == "1") mapped.push_back(host);
      path = reply.at("path");
      ready(path);
    }
    return path;
  } catch (Failure& failure) {
    if (!undo(tool, device, mapped)) failure.array = Array::kNotKnown;
    throw;
  } catch (...) {
    undo(tool, device, mapped);
    throw;
  }
}

}  // namespace

std::string mapDevice(const ArrayTool& tool, const Device& device,
                      const std::vector<std::string>& hosts,
                      const std::function<void(const std::string& path)>& ready) {
  for (const std::string& host : hosts) checkName(host);
  LunNumber lun(device, tool.log());
  const int number = lun.take();
  try {
    return mapAs(tool, device, hosts, number, ready);
  } catch (const Failure& failure) {
    if (failure.array == Array::kDidNothing && lun.isNew()) lun.giveBack();
    if (failure.array != Array::kConflict) throw;
  }
  const Reply list = tool.run({"list", device.enclosure});
  return mapAs(tool, device, hosts, lun.settle(list, hosts), ready);
}

void unmapDevice(const ArrayTool& tool, const Device& device,
                 const std::vector<std::string>& hosts) {
  for (const std::string& host : hosts) checkName(host);
  LunNumber lun(device, tool.log());
  for (const std::string& host : hosts) {
    if (unmap(tool, device, host).at("mapped") == "0") lun.giveBack();
  }
}

}  // namespace arraysnap
