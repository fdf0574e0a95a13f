#include "state/statestore.h"

#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli/exitstatus.h"

namespace fihost {

using Json = nlohmann::ordered_json;

namespace {

constexpr int kVersion = 1;

// The texts of a record by their names in the file.
struct Field {
  const char* name;
  std::string SnapshotRecord::*text;
};
constexpr Field kFields[] = {
    {"name", &SnapshotRecord::name},       {"node", &SnapshotRecord::node},
    {"session", &SnapshotRecord::session}, {"provider", &SnapshotRecord::provider},
    {"plugin", &SnapshotRecord::plugin},   {"taken", &SnapshotRecord::taken},
    {"values", &SnapshotRecord::values},   {"provider_state", &SnapshotRecord::providerState},
};

[[noreturn]] void fail(const std::string& what, const std::string& path) {
  throw Problem{kWrongUse, "state: cannot " + what + " " + path + ": " + strerror(errno)};
}

class File {
 public:
  explicit File(int fd) : m_fd(fd) {}
  ~File() {
    if (m_fd >= 0) ::close(m_fd);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int get() const { return m_fd; }

 private:
  int m_fd;
};

// A lock on the folder, held for a scope.
class Lock {
 public:
  explicit Lock(const std::string& path)
      : m_file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (m_file.get() < 0) fail("open", path);
    while (flock(m_file.get(), LOCK_EX) != 0) {
      if (errno != EINTR) fail("lock", path);
    }
  }

 private:
  File m_file;
};

// JSON text is UTF-8; bytes that are not travel as numbers.
Json encode(const std::string& text) {
  try {
    static_cast<void>(Json(text).dump());
    return text;
  } catch (const Json::type_error&) {
    return {{"bytes", std::vector<std::uint8_t>(text.begin(), text.end())}};
  }
}

std::string decode(const Json& json) {
  if (json.is_string()) return json.get<std::string>();
  const auto bytes = json.at("bytes").get<std::vector<std::uint8_t>>();
  return std::string(bytes.begin(), bytes.end());
}

void writeAll(int fd, const std::string& text, const std::string& path) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = write(fd, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) fail("write", path);
    if (written > 0) done += static_cast<std::size_t>(written);
  }
  if (fsync(fd) != 0) fail("sync", path);
}

void syncFolder(const std::string& folder) {
  const File file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (file.get() < 0 || fsync(file.get()) != 0) fail("sync", folder);
}

void replaceFile(const std::string& path, const std::string& text) {
  std::string temporary = path + ".XXXXXX";
  const File file(mkostemp(temporary.data(), O_CLOEXEC));
  if (file.get() < 0) fail("make", temporary);
  try {
    writeAll(file.get(), text, temporary);
    if (rename(temporary.c_str(), path.c_str()) != 0) fail("rename", temporary);
  } catch (...) {
    unlink(temporary.c_str());
    throw;
  }
}

}  // namespace

Json SnapshotRecord::toJson() const {
  Json json = Json::object();
  for (const Field& field : kFields) json[field.name] = encode(this->*field.text);
  return json;
}

SnapshotRecord SnapshotRecord::fromJson(const Json& json) {
  SnapshotRecord record;
  for (const Field& field : kFields) record.*field.text = decode(json.at(field.name));
  return record;
}

void forget(SnapshotRecords& records, const SnapshotRecord& record) {
  std::erase_if(records, [&](const SnapshotRecord& other) {
    return other.name == record.name && other.provider == record.provider;
  });
}

std::string StateStore::file() const { return m_folder + "/state.json"; }

SnapshotRecords StateStore::load() const {
  std::error_code error;
  if (!std::filesystem::exists(file(), error) && !error) return {};
  std::ifstream in(file(), std::ios::binary);
  if (!in) fail("read", file());
  try {
    SnapshotRecords records;
    const Json document = Json::parse(in);
    if (document.at("version") != kVersion) throw std::runtime_error("another version");
    for (const Json& entry : document.at("snapshots"))
      records.push_back(SnapshotRecord::fromJson(entry));
    return records;
  } catch (const std::exception& exception) {
    throw Problem{kWrongUse, "state: " + file() + " is damaged: " + exception.what()};
  }
}

void StateStore::update(const std::function<void(SnapshotRecords&)>& change) const {
  std::error_code error;
  std::filesystem::create_directories(m_folder, error);
  if (error) {
    throw Problem{kWrongUse, "state: cannot make folder " + m_folder + ": " + error.message()};
  }
  const Lock lock(m_folder + "/lock");
  SnapshotRecords records = load();
  change(records);
  save(records);
}

void StateStore::check() const {
  update([](SnapshotRecords&) {});
}

void StateStore::save(const SnapshotRecords& records) const {
  Json snapshots = Json::array();
  for (const SnapshotRecord& record : records) snapshots.push_back(record.toJson());
  const Json document{{"version", kVersion}, {"snapshots", snapshots}};
  replaceFile(file(), document.dump(2) + "\n");
  syncFolder(m_folder);
}

}  // namespace fihost
