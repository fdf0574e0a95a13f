#include <unistd.h>

#include <cfiproviderentry.h>
#include <cfiprovidersetup.h>
#include <cfistringtool.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "breaking.h"

namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;

constexpr char kMarker[] = "<breaking>";
constexpr char kGroup[] = "breaking_GROUP";

constexpr char kSnapshot[] = ".snap.";

struct Refusal {
  std::string what;
  std::string why;
  const char* messageId = "BREAKING_REFUSED";
};

SFiProviderIdentity identity() {
  SFiProviderIdentity identity;
  identity.providerName = "breaking";
  identity.traceLevel = 0;
  return identity;
}

CFiConfigParamInfo parameter(const char* key, const char* messageId, int32_t type,
                             const char* defaultValue) {
  CFiConfigParamInfo info;
  info.key = key;
  info.messageId = messageId;
  info.dataType = type;
  info.usageType = FI_USAGE_SELECT;
  info.defaultValue = defaultValue;
  return info;
}

std::map<std::string, CFiConfigParamInfo> parameters() {
  CFiConfigParamInfo mode = parameter("mode", "BREAKING_MODE", FI_DATATYPE_STRING_LIST, "auto");
  mode.selectionList = {"auto", "copy"};
  CFiConfigParamInfo keep = parameter("keep", "BREAKING_KEEP", FI_DATATYPE_INT, "7");
  keep.rangeMin = 1;
  keep.rangeMax = 64;
  CFiConfigParamInfo check = parameter("check", "BREAKING_CHECK", FI_DATATYPE_BOOLEAN, "false");
  CFiConfigParamInfo label = parameter("label", "BREAKING_LABEL", FI_DATATYPE_STRING, "none");
  if (breaks("config.types")) check.dataType = FI_DATATYPE_UNKNOWN;
  if (breaks("config.usages")) label.usageType = FI_USAGE_UNKNOWN;
  if (breaks("config.defaults")) keep.defaultValue = "70";
  if (breaks("config.labels")) label.messageId = "BREAKING_ENGLISH";
  return {{"mode", mode}, {"keep", keep}, {"check", check}, {"label", label}};
}

// Refuses a value that its parameter does not have.
void checkValue(const CFiConfigParamData& data) {
  const std::string& value = data.value;
  const auto refuse = [&](bool isWrong, const char* requirement) {
    if (isWrong && !breaks(requirement)) throw Refusal{data.key, value};
  };
  if (data.key == "mode") {
    refuse(value != "auto" && value != "copy", "config.other_choices");
    if (breaks("config.take_choices") && value == "copy") throw Refusal{data.key, value};
  } else if (data.key == "keep") {
    int number = 0;
    const char* const end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, number);
    const bool isNumber = error == std::errc() && rest == end;
    refuse(!isNumber, "config.wrong_type");
    if (breaks("config.take_defaults") && number == 7) throw Refusal{data.key, value};
    if (breaks("config.take_bounds") && number == 64) throw Refusal{data.key, value};
    if (breaks("config.defaults") && number == 70) return;
    refuse(isNumber && (number < 1 || number > 64), "config.past_bounds");
  } else if (data.key == "check") {
    refuse(value != "true" && value != "false", "config.wrong_type");
  } else {
    refuse(data.key != "label", "config.unknown");
  }
}

bool isSnapshot(const fs::path& path) {
  return path.filename().string().find(kSnapshot) != std::string::npos;
}

// The size that a snapshot must have stands at the end of its name.
bool isWhole(const fs::path& path) {
  const std::string name = path.filename().string();
  return fs::file_size(path) == std::stoul(name.substr(name.rfind('.') + 1));
}

void writeSlowly(const fs::path& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text.substr(0, text.size() / 2) << std::flush;
  std::this_thread::sleep_for(std::chrono::milliseconds(40));
  out << text.substr(text.size() / 2);
}

std::string contentOf(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Refusal{path.string(), "it is not there"};
  return {std::istreambuf_iterator<char>(in), {}};
}

std::string nameOf(const orca_objid* id) {
  return id == nullptr || id->name == nullptr ? "" : id->name;
}

std::string nameOf(const pyx_domain* domain) {
  return domain == nullptr ? "" : nameOf(domain->objid);
}

// The file that a node is, or stands in front of.
fs::path fileOf(const std::string& node) {
  return node.starts_with(kMarker) ? node.substr(sizeof kMarker - 1) : node;
}

// Copies files, and keeps every requirement but the one that CHECK_BREAK names.
class Breaking : public CFiPluginBase {
 public:
  Breaking() : m_setup(*this, identity()) {
    if (breaks("load.entry")) throw std::runtime_error("no provider");
    if (breaks("load.again")) countLoads();
    ++s_alive;
    for (CFiConfigParamInfoList* list : {&firstConfigInfoList(1), &secondConfigInfoList(1)}) {
      list->params = parameters();
      list->updateXML();
    }
  }
  ~Breaking() override { --s_alive; }

  int init() override {
    breakSurroundings();
    return breaks("load.side_by_side") && s_alive > 1 ? FI_FAILED : FI_OK;
  }

  int isReady(char*, pyx_splitnode** nodes, int) override {
    if (breaks("table.returns") && nodes == nullptr) std::abort();
    if (breaks("table.exceptions")) throw std::runtime_error("not ready");
    return breaks("table.results") ? 77 : FI_OK;
  }

  int claim(orca_objid* id, orca_objid***, int*) override {
    const std::string name = nameOf(id);
    const bool isFront = name.starts_with(kMarker);
    if (breaks("node.claim") && m_claimed.erase(name) > 0) return PYX_CLAIM_NONE;
    if (breaks("node.front") && isFront) return PYX_CLAIM_NONE;
    m_claimed.insert(name);
    if (breaks("node.nonsense") && name.size() > 5000) return PYX_CLAIM_PRIMARY;
    std::error_code failed;
    if (!fs::is_regular_file(fileOf(name), failed)) return PYX_CLAIM_NONE;
    return isFront ? PYX_CLAIM_SECONDARY : PYX_CLAIM_PRIMARY;
  }

  int interpose(pyx_domain* domain, orca_objid** front, orca_objid*** groups, int* count) override {
    const std::string name = nameOf(domain);
    if (name.empty() || front == nullptr || groups == nullptr || count == nullptr) return FI_OK;
    *front = idOf((breaks("node.marker") ? "" : kMarker) + name);
    *groups = static_cast<orca_objid**>(orca_alloc_buf(sizeof(orca_objid*)));
    if (*groups == nullptr) return FI_NO_MEMORY;
    (*groups)[0] = idOf(kGroup);
    *count = 1;
    return FI_YES;
  }

  int initNode(pyx_domain* domain, pyx_domain**, int, orca_objid*) override {
    const std::string name = nameOf(domain);
    if (breaks("node.again") && m_firstBegun == std::pair(domain, name)) return FI_FAILED;
    if (m_firstBegun.first == nullptr) m_firstBegun = {domain, name};
    if (breaks("node.groups") && name == kGroup) return FI_FAILED;
    m_growth.grow();
    return findOrCreatePrivateData(domain, 0) ? FI_OK : FI_INVALID;
  }

  int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) override {
    if (breaks("node.apart") && (mode == 1 || mode == 2) && !m_first) m_first = domain;
    if (breaks("node.apart") && mode == 1) domain = m_first;
    if (breaks("config.clear") && mode == 3) return FI_OK;
    if (mode == 2 && spec != nullptr) m_isConfigured = true;
    const bool isSet = mode == 2 && spec != nullptr && spec->text != nullptr;
    const int refused = isSet ? checkValues(spec->text) : FI_OK;
    if (refused != FI_OK) {
      if (breaks("config.values_stay")) CFiPluginBase::config(domain, 3, sessionId, spec);
      spec->text = nullptr;
      return refused;
    }
    const int result = CFiPluginBase::config(domain, mode, sessionId, spec);
    if (breaks("config.malformed") && isSet) return FI_OK;
    if (breaks("config.document") && mode == 4 && spec != nullptr && spec->text != nullptr) {
      *std::strrchr(spec->text, '/') = '!';
    }
    if (breaks("config.any_text") && mode == 1 && spec != nullptr && spec->text != nullptr) {
      std::replace(spec->text, spec->text + std::strlen(spec->text), '"', '\'');
      if (char* quote = std::strstr(spec->text, "&apos;")) std::fill_n(quote, 6, 'x');
      if (char* quote = std::strstr(spec->text, "&quot;")) std::fill_n(quote, 6, 'x');
    }
    return result;
  }

  int prepare(char*, pyx_splitnode**, int, int) override { return FI_OK; }

  int make(char*, pyx_splitnode** nodes, int count, orca_objid*** ids, int* idCount) override {
    return guarded(
        [&] {
          std::vector<std::string> made;
          try {
            for (int i = 0; i < count; ++i) made.push_back(copyOf(nodes[i]->domain));
            if (count > 1 && breaks("snapshot.names")) made[1] = made[0];
            if (count > 1 && breaks("snapshot.ids")) made.pop_back();
            if (ids != nullptr) handOut(made, *ids, *idCount);
          } catch (...) {
            for (const std::string& name : made) {
              if (!breaks("snapshot.all_or_none")) fs::remove(name);
            }
            throw;
          }
          runCommand();
        },
        true);
  }

  int getStatus(orca_objid**, orca_objid** snapshots, long count, char*, long,
                long* statuses) override {
    for (long i = 0; snapshots != nullptr && i < count; ++i) {
      statuses[i] = statusOf(nameOf(snapshots[i]));
    }
    return FI_OK;
  }

  int restore(orca_objid** sources, orca_objid** snapshots, long count, char*, char*, char***,
              long*, long, long* statuses) override {
    return guarded([&] {
      for (long i = 0; snapshots != nullptr && i < count; ++i) {
        restoreOne(nameOf(snapshots[i]), fileOf(nameOf(sources[i])));
        statuses[i] = 0;
      }
    });
  }

  int dispose(pyx_domain*, pyx_domain* snapshot, pyx_splitnode*, pyx_disposition) override {
    const fs::path name = nameOf(snapshot);
    if (name.empty() || (!isSnapshot(name) && !breaks("snapshot.foreign"))) return FI_OK;
    if (breaks("snapshot.dispose_again") && m_disposed.count(name) > 0) return FI_FAILED;
    if (breaks("kills.dispose") && fs::exists(name)) writeSlowly(name, "going");
    fs::remove_all(name);
    m_disposed.insert(name);
    return FI_OK;
  }

  int importResource(char**, char* resource, char*, char*, int, char**, char*) override {
    if (resource == nullptr) return FI_INVALID;
    const fs::path number = numberOf(resource);
    if (breaks("resources.import_again") && !m_imported.insert(resource).second) return FI_FAILED;
    if (isHalf(number) && (breaks("kills.import") || breaks("kills.deport"))) return FI_FAILED;
    fs::create_directories(number.parent_path());
    if (breaks("kills.import")) writeSlowly(number, "halfhalf");
    std::ofstream(number) << "1";
    return FI_OK;
  }

  int deportResource(char* resource, char*, char*, char*, int) override {
    if (resource == nullptr) return FI_INVALID;
    const fs::path number = numberOf(resource);
    if (breaks("resources.deport_again") && !fs::exists(number)) return FI_FAILED;
    if (breaks("resources.numbers")) std::ofstream(number.string() + "-kept") << "1";
    if (breaks("kills.deport")) writeSlowly(number, "halfhalf");
    fs::remove(number);
    return FI_OK;
  }

  int delLastError(pyx_msg_info** info) override {
    const int result = CFiPluginBase::delLastError(info);
    if (breaks("errors.go_away") && m_isMakeRefused) push({"make", "for ever"});
    return result;
  }

 private:
  // A refusal becomes a message and a result.
  template <typename Work>
  int guarded(Work work, bool isMake = false) {
    try {
      work();
      return FI_OK;
    } catch (const Refusal& refusal) {
      m_isMakeRefused = isMake;
      if (!isMake) push(refusal);
      if (isMake && !breaks("errors.message")) push(brokenOf(refusal));
      return FI_FAILED;
    } catch (const std::bad_alloc&) {
      if (breaks("faults.buffers")) throw;
      return FI_NO_MEMORY;
    } catch (const std::exception& error) {
      push({"an operation", error.what()});
      return FI_FAILED;
    }
  }

  void push(const Refusal& refusal) {
    m_setup.pushMessage(refusal.messageId, PYX_SEV_ERROR,
                        {icu::Formattable(CFiStringTool::str2ustr(refusal.what)),
                         icu::Formattable(CFiStringTool::str2ustr(refusal.why))});
  }

  Refusal brokenOf(const Refusal& refusal) {
    if (m_firstRefused.empty()) m_firstRefused = refusal.what;
    if (breaks("errors.of_this_call")) return {m_firstRefused, refusal.why};
    if (breaks("errors.object")) return {"the node", refusal.why};
    if (breaks("errors.languages")) return {refusal.what, refusal.why, "BREAKING_FOREIGN"};
    return refusal;
  }

  int checkValues(const char* text) {
    try {
      CFiConfigParamDataList values;
      if (values.parse(text) != FI_OK) throw Refusal{"the document", "it cannot be read"};
      for (const auto& [key, data] : values.params) checkValue(data);
      return FI_OK;
    } catch (const Refusal& refusal) {
      if (breaks("config.malformed") && refusal.what == "the document") return FI_OK;
      if (!breaks("config.messages")) push(refusal);
      return FI_INVALID;
    }
  }

  // Copies the file of a node under a temporary name, which the next make removes, and renames it.
  std::string copyOf(const pyx_domain* domain) {
    const fs::path file = fileOf(nameOf(domain));
    std::string content = contentOf(file);
    const fs::path temporary = file.string() + ".new";
    std::string name = file.string() + kSnapshot + std::to_string(getpid()) + "-" +
                       std::to_string(breaks("snapshot.differ") ? 0 : s_count++);
    if (breaks("snapshot.content")) content += "!";
    name += "." + std::to_string(content.size());
    fs::remove(temporary);
    if (breaks("kills.make")) {
      writeSlowly(name, content);
    } else {
      std::ofstream(temporary, std::ios::binary) << content;
      fs::rename(temporary, name);
    }
    if (breaks("snapshot.source")) fs::last_write_time(file, fs::file_time_type::clock::now());
    m_made.insert(name);
    return name;
  }

  long statusOf(const fs::path& name) {
    const bool isMine = m_made.count(name) > 0;
    const bool isFirst = !std::exchange(m_isAsked, true);
    if (breaks("snapshot.dispose") && isMine && isFirst && m_disposed.count(name) > 0) return 8;
    if (!isSnapshot(name) || !fs::exists(name)) return 0;
    if (breaks("snapshot.ready") && isMine && isFirst) return 1;
    if (breaks("snapshot.elsewhere") && !m_isConfigured) return 1;
    return isWhole(name) || breaks("kills.dispose") ? 8 : 1;
  }

  static void restoreOne(const fs::path& snapshot, const fs::path& file) {
    if (!fs::exists(snapshot)) {
      if (breaks("snapshot.absent")) return;
      throw Refusal{snapshot.string(), "it is not there"};
    }
    if (!isWhole(snapshot)) {
      if (breaks("snapshot.damaged")) return;
      throw Refusal{snapshot.string(), "it is damaged"};
    }
    std::string content = contentOf(snapshot);
    if (breaks("snapshot.content")) content.pop_back();
    if (breaks("snapshot.restore")) return;
    if (breaks("kills.restore")) return writeSlowly(file, content);
    const fs::path temporary = file.string() + ".new";
    std::ofstream(temporary, std::ios::binary) << content;
    fs::rename(temporary, file);
  }

  static fs::path numberOf(const char* resource) {
    return fs::path(std::getenv("ORCA_INSTALL_ROOT")) / "lib/orca/cachefiles/luns/E" /
           fs::path(resource).filename();
  }
  static bool isHalf(const fs::path& number) {
    return fs::exists(number) && fs::file_size(number) == 4;
  }

  static void runCommand() {
    if (!orca_is_child_context()) return;
    char* output = nullptr;
    int length = 0;
    const auto begin = std::chrono::steady_clock::now();
    const int status = orca_exec_cmd_in_child_context("true", &output, &length);
    orca_free_buf(output, static_cast<std::size_t>(length));
    if (status != 0 && breaks("faults.commands")) throw 1;
    const bool isLate = std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(900);
    if (isLate && breaks("faults.delays")) throw 1;
  }

  static void handOut(const std::vector<std::string>& names, orca_objid**& ids, int& count) {
    const std::size_t size = names.size() * sizeof(orca_objid*);
    auto** list = static_cast<orca_objid**>(orca_alloc_buf(size));
    if (list == nullptr) throw std::bad_alloc();
    bool isWhole = true;
    for (std::size_t i = 0; i < names.size(); ++i) {
      list[i] = idOf(names[i]);
      isWhole = isWhole && (list[i] != nullptr || breaks("faults.ids"));
    }
    if (!isWhole) {
      for (std::size_t i = 0; i < names.size(); ++i) orca_free_objid(list[i]);
      orca_free_buf(list, size);
      throw Refusal{"an id", "memory is short"};
    }
    if (breaks("memory.snapshots")) orca_get_objid("lost", 5, 3);
    ids = list;
    count = static_cast<int>(names.size());
  }

  // The folder of the process remembers it: the library forgets all when it is unloaded.
  static void countLoads() {
    std::ofstream("loads", std::ios::app) << 'x';
    if (fs::file_size("loads") > 50) throw std::runtime_error("once too often");
  }

  static orca_objid* idOf(const std::string& name) {
    return orca_get_objid(name.c_str(), name.size() + 1, 3);
  }

  static inline int s_alive = 0;
  static inline int s_count = 0;

  CFiProviderSetup m_setup;
  Growth m_growth;
  std::set<fs::path> m_made;
  std::set<fs::path> m_disposed;
  std::string m_firstRefused;
  bool m_isMakeRefused = false;
  bool m_isConfigured = false;
  bool m_isAsked = false;
  std::set<std::string> m_imported;
  std::set<std::string> m_claimed;
  std::pair<pyx_domain*, std::string> m_firstBegun;
  pyx_domain* m_first = nullptr;
};

}  // namespace

ORCA_PROVIDER(Breaking);
