#include "state/takeover.h"

#include <cfifilelock.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "cli/exitstatus.h"
#include "files/inputfile.h"
#include "state/statefolder.h"

namespace fihost {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr int kOldVersion = 1;
constexpr int kRecordDepth = 2;  // of an entry of the list in the document
constexpr char kOldName[] = "/state.json";
constexpr char kTakenOverName[] = "/state.json.taken-over";
constexpr char kOldLockName[] = "/lock";
constexpr std::size_t kRandomPart = 6;  // of the names of temporaries

// The lock of the hosts of before.
std::unique_ptr<orca_pdk::CFiFileLock> lockOldList(const std::string& path) {
  try {
    return std::make_unique<orca_pdk::CFiFileLock>(AT_FDCWD, path);
  } catch (const orca_pdk::CFiLockHeld& held) {
    throw Problem{kWrongUse, "state: " + path + " is locked by process " + held.process() +
                                 "; waited for 30 s"};
  } catch (const std::system_error& error) {
    throw Problem{kWrongUse, "state: cannot lock " + path + ": " + error.code().message()};
  }
}

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
    if (document.at("version") != kOldVersion) throw std::runtime_error("another version");
    if (!document.at("snapshots").is_array()) throw std::runtime_error("no list");
  } catch (const std::exception& exception) {
    throw Problem{kWrongUse, "state: " + path + " is damaged: " + exception.what()};
  }
}

void sweepTemporaries(const std::string& folder) {
  const std::string prefix = std::string(kOldName + 1) + ".";
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
  const std::string file = folder + kOldName;
  if (!isStateFile(file)) return;
  const auto lock = lockOldList(folder + kOldLockName);
  sweepTemporaries(folder);
  if (!isStateFile(file)) return;  // another host was faster
  take([&](const auto& each) { read(file, each); });
  if (rename(file.c_str(), (folder + kTakenOverName).c_str()) != 0) {
    throw Problem{kWrongUse, "state: cannot rename " + file + ": " + strerror(errno)};
  }
  syncFolder(folder);
}

}  // namespace fihost
