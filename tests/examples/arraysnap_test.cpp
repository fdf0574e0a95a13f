#include <dirent.h>
#include <dlfcn.h>
#include <orca_pdk.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <thread>

#include "examples/fiarray_tool.h"
#include "support/private_usr.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr char kTraceFolder[] = "/usr/tarn/keystone/logs/frzcmd";
constexpr char kPrefix[] = "UDID##FIARRAY##DISK##E1##";

CFiPluginBase* createProvider() {
  static void* const library = dlopen(ARRAYSNAP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<CFiPluginBase* (*)()>(dlsym(library, "orca_provider_create"))();
}

// An object id, and a node of that name.
struct Node {
  explicit Node(const std::string& name) : id(orca_get_objid(name.c_str(), name.size() + 1, 3)) {
    domain.objid = id;
  }
  ~Node() { orca_free_objid(id); }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  orca_objid* id;
  pyx_domain domain{};
  pyx_splitnode split{&domain, &domain};
};

class ArraySnap : public testing::Test {
 protected:
  ArraySnap() {
    fs::create_directories(m_dir.path() / "root/resources");
    fs::create_directories(m_dir.path() / "root/lib/orca");
    fs::create_directory_symlink(ARRAYSNAP_CATALOG, m_dir.path() / "root/resources/libarraysnap");
    if (isUsrPrivate()) fs::create_directories(kTraceFolder);
    writeFile(m_config / "arraysnap.conf", "[DEBUG_TRACE_INFO]\n\"TRACELEVEL\"=dword:00000006\n");
    configure(credentials(kPassword));
  }

  ~ArraySnap() override { endNodes(); }

  // The texts of a FIM list are the framework's.
  void endNodes() {
    for (auto& [name, node] : m_nodes) {
      for (pyx_node_fim* fim = node.domain.fim_list; fim != nullptr; fim = fim->next) {
        free(fim->detail->text);
        free(fim->name->text);
      }
      m_provider->deInitNode(&node.domain);
    }
    m_nodes.clear();
  }

  static std::string credentials(const std::string& password) {
    return "[CREDENTIALS]\n[CREDENTIALS\\main]\n\"HOSTNAME\"=\"array1\"\n\"USERNAME\"=\"admin\"\n"
           "\"PASSWORD\"=\"" +
           password + "\"\n";
  }
  // Writes the configuration file and loads the provider anew.
  void configure(const std::string& more, const std::string& values = "",
                 const std::string& tool = FIARRAY_PROGRAM) {
    writeFile(m_config / "arraysnap_array.conf",
              "[ARRAYSNAP]\n\"TOOL\"=\"" + tool + "\"\n\"STATE\"=\"" + m_array.folder().string() +
                  "\"\n\"TIMEOUT\"=dword:00000001\n" + values + more);
    endNodes();
    m_provider = CFiPluginBasePtr();
    m_provider = CFiPluginBasePtr(createProvider());
  }

  // The node that stands in front of a device.
  Node& node(const std::string& device) {
    const auto [slot, isNew] =
        m_nodes.try_emplace(device, std::string("<arraysnap>") + kPrefix + device);
    if (isNew && m_provider->initNode(&slot->second.domain, nullptr, 0, nullptr) != 0) {
      throw std::runtime_error("initNode failed");
    }
    return slot->second;
  }
  int set(const std::string& device, const std::string& target, const std::string& mode = "full") {
    CFiConfigParamDataList list;
    list.params["snapshot_resource_spec"].value = "[E1##" + device + ";" + target + "]";
    list.params["clone_mode"].value = mode;
    for (auto& [key, data] : list.params) data.key = key;
    list.updateXML();
    std::string text = list.getXML().c_str();
    pyx_confspec spec{1, 1, text.data()};
    const int result = m_provider->config(&node(device).domain, 2, m_session, &spec);
    free(spec.text);
    return result;
  }
  std::vector<pyx_splitnode*> split(const std::vector<std::string>& devices) {
    std::vector<pyx_splitnode*> nodes;
    for (const std::string& device : devices) nodes.push_back(&node(device).split);
    return nodes;
  }
  int prepare(const std::vector<std::string>& devices) {
    return m_provider->prepare(m_session, split(devices).data(), static_cast<int>(devices.size()),
                               0);
  }
  // The names of the snapshots; none when make failed.
  std::vector<std::string> make(const std::vector<std::string>& devices) {
    orca_objid** ids = nullptr;
    int count = 0;
    m_provider->make(m_session, split(devices).data(), static_cast<int>(devices.size()), &ids,
                     &count);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
      names.emplace_back(ids[i]->name);
      orca_free_objid(ids[i]);
    }
    orca_free_buf(ids, static_cast<std::size_t>(count) * sizeof *ids);
    return names;
  }
  long status(const std::string& device, const std::string& snapshot) {
    Node second(snapshot);
    long answer = -1;
    EXPECT_EQ(m_provider->getStatus(&node(device).id, &second.id, 1, m_session, 0, &answer), 0);
    return answer;
  }
  // Imports a device; returns its path, empty after a failure.
  std::string import(const std::string& device, std::string host = "hosta") {
    std::string resource = kPrefix + device;
    char* path = nullptr;
    m_result = m_provider->importResource(nullptr, resource.data(), host.data(), nullptr, 1, &path,
                                          m_session);
    const std::string text = path == nullptr ? "" : path;
    free(path);
    return text;
  }
  int deport(const std::string& device, std::string host = "hosta") {
    std::string resource = kPrefix + device;
    return m_provider->deportResource(resource.data(), host.data(), nullptr, m_session, 0x10);
  }
  // What the LUN cache remembers of a device.
  std::string lun(const std::string& device) {
    return readFile(m_dir.path() / "root/lib/orca/cachefiles/luns/E1" / (kPrefix + device));
  }

  std::string lastError() {
    pyx_msg_info* info = nullptr;
    m_provider->getLastError(&info);
    if (info == nullptr) return "no error";
    int unused = 0;
    char* text = nullptr;
    m_provider->getLocaleMessage(&unused, info, "en", &text);
    const std::string sentence = text == nullptr ? "" : text;
    m_provider->delLocaleMessage(&text);
    m_provider->delLastError(&info);
    return sentence;
  }
  static std::string traces() {
    std::string all;
    for (const auto& entry : fs::directory_iterator(kTraceFolder)) all += readFile(entry.path());
    return all;
  }

  TempDir m_dir;
  const fs::path m_config = m_dir.path() / "root/lib/orca/configfiles";
  ScopedEnv m_root{"ORCA_INSTALL_ROOT", m_dir.file("root").c_str()};
  FiArray m_array{m_dir.path() / "array"};
  char m_session[3] = "s1";
  int m_result = 0;  // of the last import
  CFiPluginBasePtr m_provider;
  std::map<std::string, Node> m_nodes;
};

TEST_F(ArraySnap, StandsInFrontOfTheNodesOfItsConfiguredPatterns) {
  const auto answers = [&](const std::string& name) {
    Node node(name);
    orca_objid* id = nullptr;
    orca_objid** groups = nullptr;
    int count = 0;
    std::string text = std::to_string(m_provider->interpose(&node.domain, &id, &groups, &count));
    for (int i = 0; i < count; ++i) {
      text += std::string(" ") + groups[i]->name;
      orca_free_objid(groups[i]);
    }
    orca_free_buf(groups, static_cast<std::size_t>(count) * sizeof *groups);
    if (id != nullptr) {
      orca_objid** secondaries = nullptr;
      text += std::string(" ") + id->name;
      text += " " + std::to_string(m_provider->claim(id, &secondaries, &count));
      orca_free_objid(id);
    }
    return text;
  };
  EXPECT_EQ(answers("UDID##FIARRAY##DISK##E1##D0"),
            "1 arraysnap_FIM_GROUP <arraysnap>UDID##FIARRAY##DISK##E1##D0 2");
  EXPECT_EQ(answers("/dev/sda"), "0");
  configure("[FIMS]\n[FIMS\\mirror]\n\"PATTERN\"=\"##E7##\"\n\"GROUP\"=\"seven\"\n");
  EXPECT_EQ(answers("UDID##FIARRAY##DISK##E1##D0"), "0");
  EXPECT_EQ(answers("UDID##X##Y##E7##D0"), "1 seven <arraysnap>UDID##X##Y##E7##D0 2");
}

TEST_F(ArraySnap, ClonesMapsUnderALunNumberUnmapsAndFreesTheNumber) {
  m_array.make(3, "32M");
  m_array.write("D0", std::string(17 << 20, 'x'));
  ASSERT_EQ(set("D0", "D1"), 0);
  ASSERT_EQ(m_provider->select(m_session, split({"D0"}).data(), 1), 0) << lastError();
  ASSERT_EQ(prepare({"D0"}), 0) << lastError();
  const std::vector<std::string> snapshots = make({"D0"});
  ASSERT_THAT(snapshots, testing::ElementsAre(std::string(kPrefix) + "D1")) << lastError();
  const std::string content = readFile(m_array.image("D0"));
  m_array.write("D0", "changed since");
  EXPECT_EQ(status("D0", snapshots[0]), 8);
  EXPECT_EQ(status("D2", snapshots[0]), 0);

  EXPECT_EQ(readFile(import("D1")), content) << lastError();
  EXPECT_EQ(lun("D1"), "0");
  import("D2");
  EXPECT_EQ(lun("D2"), "1");
  import("D1", "hostb");
  EXPECT_THAT(m_array.ok("list E1 D1"), HasSubstr("mapping=hosta:0\nmapping=hostb:0\n"));

  EXPECT_EQ(m_provider->dispose(nullptr, nullptr, &node("D1").split, PYX_DISPOSITION_NONE), 6);
  EXPECT_EQ(deport("D1"), 0);
  EXPECT_EQ(lun("D1"), "0");
  EXPECT_EQ(deport("D1", "hostb"), 0);
  EXPECT_EQ(lun("D1"), "");
  EXPECT_EQ(deport("D1", "hostb"), 0) << "gone is success";
  import("D0");
  EXPECT_EQ(lun("D0"), "0");
  EXPECT_EQ(m_provider->dispose(nullptr, nullptr, &node("D1").split, PYX_DISPOSITION_NONE), 0);
  EXPECT_EQ(status("D0", snapshots[0]), 0);
}

TEST_F(ArraySnap, TellsTroubleOfTheToolAndCanBeAskedAgain) {
  m_array.make(1, "4K");
  const std::string command = "arraysnap: \"" FIARRAY_PROGRAM " --state " +
                              m_array.folder().string() + " map E1 D0 hosta 0\" ";
  const std::string cut = command + "was cut off: ";
  const std::string unknown =
      "Whether the array did it is not known; look at the array, then try again.";
  const struct {
    const char* trouble;
    std::string sentence;
    std::string numberAfter;
  } cases[] = {
      {"exit 77",
       command + "failed: Command exited with status 77. Its last line: fiarray: the controller is "
                 "not in the mood. The array did nothing for it; correct the cause and try again.",
       ""},
      {"crash", cut + "Command terminated by signal 9. Its last line: -. " + unknown, "0"},
      {"delay 60", cut + "no sign of life for 1 seconds. Its last line: -. " + unknown, "0"},
      {"silence 60", cut + "no sign of life for 1 seconds. Its last line: -. " + unknown, "0"},
      {"garbage",
       command + "ended with exit status 0 but answered something unknown: "
                 "??\u2039%s>=?=?[2J. Whether the array did it is not known; check that the "
                 "configured tool is the array's, then try again.",
       "0"}};
  for (const auto& c : cases) {
    m_array.ok(std::string("inject ") + c.trouble);
    EXPECT_EQ(import("D0"), "") << c.trouble;
    EXPECT_EQ(m_result, 6) << c.trouble;
    EXPECT_EQ(lastError(), c.sentence);
    EXPECT_EQ(lun("D0"), c.numberAfter) << c.trouble;
    EXPECT_EQ(import("D0"), m_array.image("D0"));
    EXPECT_EQ(deport("D0"), 0);
    EXPECT_EQ(lun("D0"), "");
  }
}

TEST_F(ArraySnap, TakesLoginsFromTheFrameworkFirstAndThenFromItsFile) {
  m_array.make(1, "4K");
  configure(credentials("wrong"));
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(),
              AllOf(HasSubstr("status 3. Its last line: fiarray: the login is refused"),
                    Not(HasSubstr("wrong"))));
  writeFile(m_dir.path() / "text",
            std::string("[STORAGE_MANAGEMENT_SERVICE\\CREDENTIALS\\FIARRAY]\n\"HOSTNAME\"=\"fw\"\n"
                        "\"USERNAME\"=\"admin\"\n\"PASSWORD\"=\"") +
                kPassword + "\"\n");
  const ScopedEnv blob("ORCA_CREDENTIALS", m_dir.file("text").c_str());
  EXPECT_EQ(import("D0"), m_array.image("D0"));
  configure(credentials("wrong"), "\"ARRAY_HOST\"=\"ARRAY1\"\n");
  EXPECT_EQ(import("D0"), "");
  configure("", "\"ARRAY_HOST\"=\"array9\"\n");
  EXPECT_EQ(import("D0"), "");
  EXPECT_EQ(lastError(),
            "arraysnap: No login for array array9 in the framework's credentials or in section "
            "CREDENTIALS "
            "of " +
                (m_config / "arraysnap_array.conf").string() + ". Add one. Nothing was changed.");
}

// Arguments and environment of the running tool; empty when none runs.
std::string toolInProc() {
  std::string all;
  std::error_code gone;
  for (const auto& entry : fs::directory_iterator("/proc", gone)) {
    if (fs::read_symlink(entry.path() / "exe", gone) != FIARRAY_PROGRAM) continue;
    all += readFile(entry.path() / "cmdline") + readFile(entry.path() / "environ");
  }
  return all;
}

TEST_F(ArraySnap, ShowsThePasswordToNobodyButTheTool) {
  m_array.make(1, "4K");
  configure(credentials(kPassword), "\"TIMEOUT\"=dword:00000014\n");
  m_array.ok("inject delay 1");
  std::string seen;
  std::thread importing([this] { import("D0"); });
  while (seen.empty()) seen = toolInProc();
  importing.join();
  EXPECT_EQ(m_result, 0) << lastError();
  EXPECT_THAT(seen, AllOf(HasSubstr("hosta"), HasSubstr("LC_ALL=C"), Not(HasSubstr(kPassword))));

  const std::string chatty = m_dir.file("chatty");
  writeFile(chatty, "#!/bin/sh\ntr '\\n' ' '\nexit 1\n");
  fs::permissions(chatty, fs::perms::owner_all);
  configure(credentials(kPassword), "", chatty);
  import("D0");
  EXPECT_THAT(lastError(), HasSubstr("Its last line: admin *** . The array"));
  if (isUsrPrivate()) {
    EXPECT_THAT(traces(), AllOf(HasSubstr("importNode"), Not(HasSubstr(kPassword))));
  }
}

TEST_F(ArraySnap, MakesAllClonesOrNone) {
  m_array.make(4, "4K");
  ASSERT_EQ(set("D0", "D2"), 0);
  ASSERT_EQ(set("D1", "D3", "cow"), 0);
  ASSERT_EQ(prepare({"D0", "D1"}), 0) << lastError();
  m_array.ok("map E1 D3 hosta 1");
  EXPECT_TRUE(make({"D0", "D1"}).empty());
  EXPECT_THAT(lastError(), HasSubstr("status 5. Its last line: fiarray: D3 is mapped."));
  EXPECT_EQ(m_array.ok("copy-status E1 D2"), "state=none\n");
  m_array.ok("unmap E1 D3 hosta");
  EXPECT_EQ(make({"D0", "D1"}).size(), 2U);
}

TEST_F(ArraySnap, RefusesBeforeTheSnapshotWhatCannotWork) {
  m_array.make(3, "4K");
  m_array.ok("add-device E1 BIG 8K");
  const struct {
    const char* target;
    const char* mode;
    int result;
    const char* sentence;
  } cases[] = {{"BIG", "full", 6, "D0: its size differs. Nothing was changed."},
               {"D0", "full", 6, "D0: it is the source."},
               {"D9", "full", 6, "status 4. Its last line: fiarray: no device D9 in E1."},
               {"-x", "full", 3, "\"-X\" cannot be the name of an enclosure, a device or a host"},
               {"D1", "warm", 3, "clone_mode cannot be \"warm\". Allowed: cow, full."},
               {"", "full", 6,
                "No target for \u2039arraysnap>UDID##FIARRAY##DISK##E1##D0 in "
                "snapshot_resource_spec \"[E1##D0;]\"."}};
  for (const auto& c : cases) {
    configure(credentials(kPassword));
    ASSERT_EQ(set("D0", c.target, c.mode), 0);
    EXPECT_EQ(prepare({"D0"}), c.result) << c.target;
    EXPECT_THAT(lastError(), HasSubstr(c.sentence));
  }
  char bad[] = "UDID##only";
  EXPECT_THROW(m_provider->importResource(nullptr, bad, nullptr, nullptr, 1, nullptr, nullptr),
               CFiUdidException);
  Node named("no identifier");
  named.domain.import_objid = named.id;
  orca_objid* imported = nullptr;
  EXPECT_EQ(m_provider->importTreeNode(&named.domain, nullptr, nullptr, 0, &imported), 3);
  EXPECT_THAT(lastError(), HasSubstr("\"no identifier\" is no device identifier (reason 2)."));
  const ScopedEnv child("ORCA_CHILD_CONTEXT", "1");
  EXPECT_EQ(import("D0"), "");
  EXPECT_THAT(lastError(), HasSubstr("it passes no login on. Nothing was changed."));
}

TEST_F(ArraySnap, GivesTheDeviceToItsOwnerOrUnmapsIt) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  m_array.make(1, "4K");
  configure(credentials(kPassword), "\"OWNER\"=dword:00000007\n\"GROUP\"=dword:00000009\n");
  const std::string path = import("D0");
  if (path.empty() && fs::exists("/proc/self/uid_map") &&
      readFile("/proc/self/uid_map").find("4294967295") == std::string::npos) {
    GTEST_SKIP() << "this user namespace has no other ids";
  }
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0) << lastError();
  EXPECT_EQ(std::make_pair(status.st_uid, status.st_gid), std::make_pair(7U, 9U));
}

TEST_F(ArraySnap, ReadsAMappedDeviceAsABlockDevice) {
  m_array.make(1, "64K", "");
  m_array.write("D0", "on the disk");
  const std::string path = import("D0");
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0) << lastError();
  const bool isBlock = S_ISBLK(status.st_mode);
  EXPECT_EQ(readFile(path).substr(0, 11), "on the disk");
  EXPECT_EQ(deport("D0"), 0) << lastError();
  if (!isBlock) GTEST_SKIP() << "no loop device for this user";
  EXPECT_THAT(m_array.ok("list E1 D0"), HasSubstr("path=" + m_array.image("D0")));
}

}  // namespace
}  // namespace orca_tests
