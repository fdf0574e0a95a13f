#include "mapping.h"

#include <cficonfiguration.h>
#include <cfipblm.h>
#include <cfistringtool.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "failure.h"

namespace arraysnap {

namespace {

// Keeps other processes from choosing numbers of the same enclosure: the LUN cache has no lock.
class EnclosureLock {
 public:
  explicit EnclosureLock(const std::string& directory)
      : m_fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    int locked = m_fd < 0 ? -1 : flock(m_fd, LOCK_EX);
    while (m_fd >= 0 && locked != 0 && errno == EINTR) locked = flock(m_fd, LOCK_EX);
    if (locked == 0) return;
    const int error = errno;
    if (m_fd >= 0) close(m_fd);
    throw Failure{"ARRAYSNAP_NO_CACHE", {directory, std::generic_category().message(error)}};
  }
  ~EnclosureLock() { close(m_fd); }
  EnclosureLock(const EnclosureLock&) = delete;
  EnclosureLock& operator=(const EnclosureLock&) = delete;

 private:
  int m_fd;
};

std::string cacheKey(const Device& device) {
  orca_pdk::tstr key;
  // -1 only says that the enclosure's directory was made just now.
  orca_pdk::CFiConfigurationPathTool::getLunKey(orca_pdk::CFiStringTool::str2tstr(device.udid),
                                                key);
  return orca_pdk::CFiStringTool::tstr2str(key);
}

// The LUN number of a device in the cache of this host.
class LunNumber {
 public:
  LunNumber(const Device& device, const orca_pdk::CFiTraceLogPtr& log)
      : m_device(device),
        m_key(cacheKey(device)),
        m_lock(std::filesystem::path(m_key).parent_path()) {
    m_cache.registerTraceLog(log);
  }

  // The remembered number, or a new one, which is remembered before anybody uses it.
  int take() {
    int number = -1;
    const bool isKnown = orca_pdk::CFiConfigurationPathTool::verify(m_key.c_str()) == 0;
    if (isKnown && m_cache.getKeyValue(m_key.c_str(), number) == 0) return number;
    std::vector<int> free;
    m_cache.getNewValue(m_device.enclosure.c_str(), free);
    if (free.empty()) throw Failure{"ARRAYSNAP_NO_LUN", {m_device.enclosure}};
    number = free.front();
    if (m_cache.setKeyValue(m_key.c_str(), {std::to_string(number)}, m_device.enclosure.c_str())) {
      throw Failure{"ARRAYSNAP_NO_CACHE", {m_key, "-"}};
    }
    m_isNew = true;
    return number;
  }

  bool isNew() const { return m_isNew; }

  void giveBack() {
    if (m_cache.rmCacheRecord(m_key.c_str()) == 0) return;
    throw Failure{"ARRAYSNAP_NO_CACHE", {m_key, "-"}};
  }

 private:
  const Device& m_device;
  std::string m_key;
  EnclosureLock m_lock;
  // New for each use: it reads the records of the first enclosure that it is asked for.
  orca_pdk::CFiPblmOps m_cache;
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
    } catch (const Failure&) {
      isDone = false;
    }
  }
  return isDone;
}

}  // namespace

std::string mapDevice(const ArrayTool& tool, const orca_pdk::CFiTraceLogPtr& log,
                      const Device& device, const std::vector<std::string>& hosts,
                      const std::function<void(const std::string& path)>& ready) {
  for (const std::string& host : hosts) checkName(host);
  LunNumber lun(device, log);
  const std::string number = std::to_string(lun.take());
  std::vector<std::string> mapped;
  std::string path;
  try {
    for (const std::string& host : hosts) {
      const Reply reply = tool.run({"map", device.enclosure, device.name, host, number});
      if (reply.at("changed") == "1") mapped.push_back(host);
      path = reply.at("path");
      ready(path);
    }
  } catch (const Failure& failure) {
    const bool isUndone = undo(tool, device, mapped);
    if (isUndone && failure.isRefusal && lun.isNew()) lun.giveBack();
    throw;
  }
  return path;
}

void unmapDevice(const ArrayTool& tool, const orca_pdk::CFiTraceLogPtr& log, const Device& device,
                 const std::vector<std::string>& hosts) {
  for (const std::string& host : hosts) checkName(host);
  LunNumber lun(device, log);
  for (const std::string& host : hosts) {
    if (unmap(tool, device, host).at("mapped") == "0") lun.giveBack();
  }
}

}  // namespace arraysnap
