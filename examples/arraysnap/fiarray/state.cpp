#include "state.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "fault.h"

namespace fiarray {

namespace {

using Json = nlohmann::json;

constexpr char kStateName[] = "state.json";
constexpr char kLockName[] = "lock";

void lock(const File& file) {
  while (flock(file.fd(), LOCK_EX) != 0) {
    if (errno != EINTR) throw ioFault("flock");
  }
}

fs::path checkedLock(const fs::path& folder) {
  if (fs::exists(folder / kStateName)) return folder / kLockName;
  throw Fault{kUnknown, "no array in " + folder.string() + ": make one with init"};
}

Json toJson(const Clone& clone) {
  return {{"source", clone.source},
          {"state", clone.state},
          {"cause", clone.cause},
          {"copied", clone.copied},
          {"sourceTime", clone.sourceTime}};
}

Clone toClone(const Json& json) {
  return {json.at("source"), json.at("state"), json.at("cause"), json.at("copied"),
          json.at("sourceTime")};
}

Json toJson(const Device& device) {
  Json json{{"size", device.size}, {"hosts", device.hosts}};
  if (device.clone) json["clone"] = toJson(*device.clone);
  return json;
}

Device toDevice(const Json& json) {
  Device device;
  device.size = json.at("size");
  json.at("hosts").get_to(device.hosts);
  if (json.contains("clone")) device.clone = toClone(json.at("clone"));
  return device;
}

std::string toText(const State& state) {
  Json enclosures = Json::object();
  for (const auto& [name, enclosure] : state.enclosures) {
    Json& devices = enclosures[name] = Json::object();
    for (const auto& [deviceName, device] : enclosure) devices[deviceName] = toJson(device);
  }
  const Trouble& trouble = state.trouble;
  return Json{{"user", state.login.user},
              {"password", state.login.password},
              {"filesOnly", state.filesOnly},
              {"trouble",
               {{"kind", trouble.kind}, {"argument", trouble.argument}, {"left", trouble.left}}},
              {"enclosures", enclosures}}
             .dump(1) +
         "\n";
}

State fromText(const std::string& text) {
  const Json json = Json::parse(text);
  const Json& trouble = json.at("trouble");
  State state;
  state.login = {json.at("user"), json.at("password")};
  state.filesOnly = json.at("filesOnly");
  state.trouble = {trouble.at("kind"), trouble.at("argument"), trouble.at("left")};
  for (const auto& [name, devices] : json.at("enclosures").items()) {
    Enclosure& enclosure = state.enclosures[name];
    for (const auto& [deviceName, device] : devices.items()) {
      enclosure[deviceName] = toDevice(device);
    }
  }
  return state;
}

}  // namespace

void Store::create(const fs::path& folder, const State& state) {
  fs::create_directories(folder / "images");
  fs::permissions(folder, fs::perms::owner_all);
  const File file(folder / kLockName, O_RDWR | O_CREAT);
  lock(file);
  if (fs::exists(folder / kStateName)) {
    throw Fault{kConflict, "there is an array in " + folder.string() + " already"};
  }
  replaceText(folder / kStateName, toText(state), [] {});
}

Store::Store(const fs::path& folder, const Login& login)
    : m_folder(folder), m_lock(checkedLock(folder), O_RDWR | O_CREAT) {
  lock(m_lock);
  try {
    state = fromText(readText(folder / kStateName));
  } catch (const Json::exception& error) {
    throw Fault{kStateDamaged, "the state cannot be read: " + std::string(error.what())};
  }
  if (login.user != state.login.user || login.password != state.login.password) {
    throw Fault{kLoginRefused, "the login is refused"};
  }
}

void Store::save() { replaceText(m_folder / kStateName, toText(state), beforeSave); }

}  // namespace fiarray
