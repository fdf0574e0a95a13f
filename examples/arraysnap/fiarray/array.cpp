#include "array.h"

#include <fcntl.h>

#include <algorithm>
#include <cctype>

#include "fault.h"
#include "loop.h"

namespace fiarray {

namespace {

constexpr int kHighestLun = 255;
constexpr uint64_t kSector = 512;

bool isPlain(const std::string& name) {
  return !name.empty() && std::isalnum(static_cast<unsigned char>(name[0])) != 0 &&
         std::all_of(name.begin(), name.end(), [](unsigned char c) {
           return std::isalnum(c) != 0 || c == '_' || c == '-' || c == '.';
         });
}

// The name as the array keeps it; it becomes a file name.
std::string kept(const std::string& name) {
  if (!isPlain(name)) throw Fault{kWrongUse, "\"" + name + "\" is no name"};
  std::string upper = name;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

Fault mappedAlready(const std::string& host, const std::string& device, int lun) {
  return {kConflict, host + " sees " + device + " as LUN " + std::to_string(lun)};
}

}  // namespace

Enclosure& Array::enclosureOf(const std::string& name) const {
  const auto found = m_store.state.enclosures.find(kept(name));
  if (found == m_store.state.enclosures.end()) throw Fault{kUnknown, "no enclosure " + name};
  return found->second;
}

Device& Array::deviceOf(const std::string& enclosure, const std::string& name) const {
  Enclosure& devices = enclosureOf(enclosure);
  const auto found = devices.find(kept(name));
  if (found == devices.end()) throw Fault{kUnknown, "no device " + name + " in " + enclosure};
  return found->second;
}

fs::path Array::imageOf(const std::string& enclosure, const std::string& device) const {
  return m_store.folder() / "images" / kept(enclosure) / (kept(device) + ".img");
}

// Where a copy grows before it becomes the image.
fs::path Array::copyOf(const std::string& enclosure, const std::string& device) const {
  return imageOf(enclosure, device).replace_extension(".copy");
}

fs::path Array::pathOf(const std::string& enclosure, const std::string& device) const {
  const fs::path image = imageOf(enclosure, device);
  const fs::path attached = attachedDevice(image);
  return attached.empty() ? fs::absolute(image) : attached;
}

Answer Array::addEnclosure(const std::string& enclosure) {
  const std::string name = kept(enclosure);
  if (m_store.state.enclosures.count(name) != 0) {
    throw Fault{kConflict, "enclosure " + enclosure + " exists"};
  }
  fs::create_directories(m_store.folder() / "images" / name);
  File(m_store.folder() / "images", O_RDONLY | O_DIRECTORY).sync();
  m_store.state.enclosures[name];
  m_store.save();
  return {{"enclosure", name}};
}

Answer Array::addDevice(const std::string& enclosure, const std::string& device, uint64_t size) {
  Enclosure& devices = enclosureOf(enclosure);
  const std::string name = kept(device);
  if (devices.count(name) != 0) throw Fault{kConflict, "device " + device + " exists"};
  if (size == 0 || size % kSector != 0) {
    throw Fault{kWrongUse, "a size is a multiple of 512 bytes"};
  }
  const File image(imageOf(enclosure, name), O_RDWR | O_CREAT | O_TRUNC);
  image.resize(size);
  image.sync();
  File(imageOf(enclosure, name).parent_path(), O_RDONLY | O_DIRECTORY).sync();
  devices[name].size = size;
  m_store.save();
  return list(enclosure, name);
}

void Array::describe(Answer& answer, const std::string& enclosure, const std::string& name) const {
  const Device& device = deviceOf(enclosure, name);
  answer.insert(answer.end(), {{"enclosure", enclosure},
                               {"device", name},
                               {"size", std::to_string(device.size)},
                               {"path", pathOf(enclosure, name).string()},
                               {"mapped", std::to_string(device.hosts.size())}});
  for (const auto& [host, lun] : device.hosts) {
    answer.emplace_back("mapping", host).second.append(":").append(std::to_string(lun));
  }
  if (!device.clone) return;
  answer.emplace_back("source", device.clone->source);
  answer.emplace_back("state", device.clone->state);
}

Answer Array::list(const std::string& enclosure, const std::string& device) const {
  Answer answer;
  if (!device.empty()) {
    describe(answer, kept(enclosure), kept(device));
    return answer;
  }
  if (!enclosure.empty()) enclosureOf(enclosure);
  for (const auto& [name, devices] : m_store.state.enclosures) {
    if (!enclosure.empty() && name != kept(enclosure)) continue;
    if (devices.empty()) answer.emplace_back("enclosure", name);
    for (const auto& entry : devices) describe(answer, name, entry.first);
  }
  return answer;
}

Answer Array::map(const std::string& enclosure, const std::string& device, const std::string& host,
                  int lun) {
  Device& mapped = deviceOf(enclosure, device);
  if (!isPlain(host)) throw Fault{kWrongUse, "\"" + host + "\" is no host name"};
  if (lun < 0 || lun > kHighestLun) throw Fault{kWrongUse, "LUN numbers are 0 to 255"};
  for (const auto& [name, other] : enclosureOf(enclosure)) {
    const auto found = other.hosts.find(host);
    if (found == other.hosts.end() || (&other == &mapped) == (found->second == lun)) continue;
    throw mappedAlready(host, name, found->second);
  }
  const fs::path image = imageOf(enclosure, device);
  if (!m_store.state.filesOnly && attachedDevice(image).empty()) attach(image);
  const bool isNew = mapped.hosts.emplace(host, lun).second;
  if (isNew) m_store.save();
  return {{"changed", isNew ? "1" : "0"},
          {"lun", std::to_string(lun)},
          {"path", pathOf(enclosure, device).string()}};
}

Answer Array::unmap(const std::string& enclosure, const std::string& device,
                    const std::string& host) {
  Device& mapped = deviceOf(enclosure, device);
  const bool isChanged = mapped.hosts.erase(host) != 0;
  if (mapped.hosts.empty()) detach(imageOf(enclosure, device));
  if (isChanged) m_store.save();
  return {{"changed", isChanged ? "1" : "0"}, {"mapped", std::to_string(mapped.hosts.size())}};
}

}  // namespace fiarray
