#include "state/takeover.h"

#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

#include "cli/exitstatus.h"
#include "cli/inputfile.h"
#include "state/statefolder.h"

namespace fihost {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr int kVersion = 1;
constexpr int kRecordDepth = 2;  // of an entry of the list in the document
constexpr char kName[] = "/state.json";
constexpr char kNewName[] = "/state.json.taken-over";
constexpr std::size_t kRandomPart = 6;  // of the names of temporaries
constexpr std::chrono::milliseconds kPause(10);
constexpr int kTries = 3000;  // with the pause, 30 seconds

// The lock of the hosts of before, gone with its file at the end of the scope.
class OldLock {
 public:
  explicit OldLock(const std::string& path) : m_path(path), m_file(openStateFile(path)) {
    for (int tries = 0; flock(m_file.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
      if (errno != EWOULDBLOCK && errno != EINTR) {
        throw Problem{kWrongUse, "state: cannot lock " + path + ": " + strerror(errno)};
      }
      if (tries == kTries) {
        throw Problem{kWrongUse,
                      "state: " + path + " is locked by another process; waited for 30 s"};
      }
      std::this_thread::sleep_for(kPause);
    }
  }
  ~OldLock() { unlink(m_path.c_str()); }
  OldLock(const OldLock&) = delete;
  OldLock& operator=(const OldLock&) = delete;

 private:
  std::string m_path;
  Descriptor m_file;
};

struct StreamCloser {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

// Hands the entries on as they come, so that no list is too long for memory.
void read(const std::string& path, const std::function<void(const SnapshotRecord&)>& each) {
  Descriptor file = openInput(path);
  const std::unique_ptr<std::FILE, StreamCloser> stream(fdopen(file.get(), "r"));
  if (stream == nullptr) throw std::bad_alloc();
  file.release();
  const auto take = [&](int depth, Json::parse_event_t event, Json& parsed) {
    if (event != Json::parse_event_t::object_end || depth != kRecordDepth) return true;
    each(SnapshotRecord::fromJson(parsed));
    return false;
  };
  try {
    const Json document = Json::parse(stream.get(), take);
    if (document.at("version") != kVersion) throw std::runtime_error("another version");
    if (!document.at("snapshots").is_array()) throw std::runtime_error("no list");
  } catch (const std::exception& exception) {
    throw Problem{kWrongUse, "state: " + path + " is damaged: " + exception.what()};
  }
}

void sweepTemporaries(const std::string& folder) {
  const std::string prefix = std::string(kName + 1) + ".";
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) {
    const std::string name = entry.path().filename();
    const bool isTemporary = name.starts_with(prefix) && name.size() == prefix.size() + kRandomPart;
    if (isTemporary) fs::remove(entry.path(), ignored);
  }
}

}  // namespace

void takeOverOldList(const std::string& folder,
                     const std::function<void(const RecordReader&)>& take) {
  const std::string file = folder + kName;
  if (!isStateFile(file)) return;
  const OldLock lock(folder + "/lock");
  sweepTemporaries(folder);
  if (!isStateFile(file)) return;  // another host was faster
  take([&](const auto& each) { read(file, each); });
  if (rename(file.c_str(), (folder + kNewName).c_str()) != 0) {
    throw Problem{kWrongUse, "state: cannot rename " + file + ": " + strerror(errno)};
  }
  syncFolder(folder);
}

}  // namespace fihost
