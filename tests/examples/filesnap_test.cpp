#include <cfiproviderentry.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <orca_pdk.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <map>

#include "support/private_usr.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

// The calls by which the provider changes a disk come through here, counted while a fault is armed.
namespace {

enum class Fault { kNone, kKill, kFail };

struct {
  Fault fault = Fault::kNone;
  int at = 0;                     // the call that the fault strikes
  int calls = 0;                  // calls seen so far
  std::function<void()> onWrite;  // done once, after the next write
} g_disk;

// True when the call must fail.
bool strikes() {
  if (g_disk.fault == Fault::kNone || ++g_disk.calls != g_disk.at) return false;
  if (g_disk.fault == Fault::kKill) raise(SIGKILL);
  errno = ENOSPC;
  return true;
}

template <typename Function, typename... Arguments>
auto next(Function*, const char* name, Arguments... arguments) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace

#define DISK_CALL extern "C" __attribute__((visibility("default")))
#define PASS_ON(name, ...) strikes() ? -1 : next(&name, #name, __VA_ARGS__)
DISK_CALL int fsync(int file) { return PASS_ON(fsync, file); }
DISK_CALL int ftruncate(int file, off_t size) noexcept { return PASS_ON(ftruncate, file, size); }
DISK_CALL int rename(const char* from, const char* to) noexcept {
  return PASS_ON(rename, from, to);
}
DISK_CALL int unlinkat(int folder, const char* name, int flags) noexcept {
  return PASS_ON(unlinkat, folder, name, flags);
}
DISK_CALL ssize_t pwrite(int file, const void* data, size_t size, off_t at) {
  const ssize_t put = PASS_ON(pwrite, file, data, size, at);
  if (g_disk.onWrite) std::exchange(g_disk.onWrite, nullptr)();
  return put;
}
DISK_CALL char* mkdtemp(char* pattern) noexcept {
  return strikes() ? nullptr : next(&mkdtemp, "mkdtemp", pattern);
}

namespace orca_tests {
namespace {

using namespace orca_pdk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

using Paths = std::vector<std::string>;
using Values = std::map<std::string, std::string>;

CFiPluginBase* createProvider() {
  static void* const library = dlopen(FILESNAP_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<CFiPluginBase* (*)()>(dlsym(library, "orca_provider_create"))();
}

void flipByte(const std::string& file) { std::fstream(file, std::ios::in | std::ios::out) << 'x'; }

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

class FileSnap : public testing::Test {
 protected:
  FileSnap() {
    fs::create_directories(m_dir.path() / "root/resources");
    fs::create_directory_symlink(FILESNAP_CATALOG, m_dir.path() / "root/resources/libfilesnap");
    writeFile(m_file, m_content);
    m_provider = CFiPluginBasePtr(createProvider());
  }
  ~FileSnap() override { umount2(m_data.c_str(), MNT_DETACH); }  // where a test mounted there

  Node& node(const std::string& file) {
    Node& one = m_nodes.try_emplace(file, file).first->second;
    EXPECT_EQ(m_provider->initNode(&one.domain, nullptr, 0, nullptr), 0);
    return one;
  }

  int set(const std::string& file, const Values& values) {
    CFiConfigParamDataList list;
    for (const auto& [key, value] : values) list.params[key].value = value;
    for (auto& [key, data] : list.params) data.key = key;
    list.updateXML();
    std::string text = list.getXML().c_str();
    pyx_confspec spec{1, 1, text.data()};
    const int result = m_provider->config(&node(file).domain, 2, m_session, &spec);
    free(spec.text);
    return result;
  }

  std::vector<pyx_splitnode*> split(const Paths& files) {
    std::vector<pyx_splitnode*> nodes;
    for (const std::string& file : files) nodes.push_back(&node(file).split);
    return nodes;
  }

  int prepare(const Paths& files) {
    return m_provider->prepare(m_session, split(files).data(), static_cast<int>(files.size()), 0);
  }

  // The paths of the snapshots; none when make failed.
  Paths make(const Paths& files) {
    orca_objid** ids = nullptr;
    int count = 0;
    m_result = m_provider->make(m_session, split(files).data(), static_cast<int>(files.size()),
                                &ids, &count);
    Paths paths;
    for (int i = 0; i < count; ++i) {
      paths.emplace_back(ids[i]->name);
      orca_free_objid(ids[i]);
    }
    orca_free_buf(ids, static_cast<std::size_t>(count) * sizeof *ids);
    return paths;
  }

  std::string snapshot(const Values& values = {}) {
    EXPECT_EQ(set(m_file, values), 0) << lastError();
    EXPECT_EQ(prepare({m_file}), 0) << lastError();
    const Paths paths = make({m_file});
    EXPECT_EQ(paths.size(), 1U) << lastError();
    return paths.empty() ? "" : paths[0];
  }

  long status(const std::string& snapshot) {
    Node second(snapshot);
    long answer = -1;
    EXPECT_EQ(m_provider->getStatus(&second.id, &second.id, 1, nullptr, 0, &answer), 0);
    return answer;
  }

  long restore(const std::string& file, const std::string& snapshot) {
    Node first(file), second(snapshot);
    long answer = -1;
    const int result = m_provider->restore(&first.id, &second.id, 1, nullptr, nullptr, nullptr,
                                           nullptr, 0, &answer);
    EXPECT_EQ(result == 0, answer == 0);
    return answer;
  }

  int dispose(const std::string& snapshot) {
    Node second(snapshot);
    return m_provider->dispose(nullptr, nullptr, &second.split, PYX_DISPOSITION_NONE);
  }

  std::string lastError(const char* language = "en") {
    pyx_msg_info* info = nullptr;
    m_provider->getLastError(&info);
    if (info == nullptr) return "no error";
    int unused = 0;
    char* text = nullptr;
    m_provider->getLocaleMessage(&unused, info, language, &text);
    m_provider->delLastError(&info);
    return text;  // stays the catalog's
  }

  // What is in a folder, hidden names included.
  static Paths contents(const fs::path& folder) {
    Paths paths;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none)) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  Paths visible() const {
    Paths paths = contents(m_folder);
    std::erase_if(paths, [](const fs::path& p) { return p.filename().string().starts_with('.'); });
    return paths;
  }

  // Runs an action in a child that a kill strikes at its n-th change of the disk, for every n there
  // is; looks at the disk after each.
  static void killEverywhere(const std::function<void()>& action,
                             const std::function<void()>& look) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE("killed at change " + std::to_string(n));
      const pid_t child = fork();
      if (child == 0) {
        g_disk.fault = Fault::kKill;
        g_disk.at = n;
        action();
        _exit(0);
      }
      int ended = 0;
      ASSERT_EQ(waitpid(child, &ended, 0), child);
      look();
      if (WIFEXITED(ended) || testing::Test::HasFailure()) {
        ASSERT_GT(n, 3) << "nothing was struck";
        return;
      }
    }
  }

  // Mounts a file system on the data folder, with a new source file; false where nobody may.
  bool mountOnData(const std::string& command) {
    if (!isUsrPrivate() || runCommand({"sh", "-c", command + m_data}).status != 0) return false;
    writeFile(m_file, m_content);
    return true;
  }

  TempDir m_dir;
  ScopedEnv m_root{"ORCA_INSTALL_ROOT", m_dir.file("root").c_str()};
  const std::string m_data = fs::canonical(m_dir.path()).string() + "/data";
  const std::string m_file = m_data + "/disk.img";
  const std::string m_folder = m_data + "/.filesnap";
  const std::string m_content = std::string(1300000, 'a') + std::string(1300000, 'b');
  char m_session[3] = "s1";
  int m_result = 0;  // of the last make
  CFiPluginBasePtr m_provider;
  std::map<std::string, Node> m_nodes;
};

TEST_F(FileSnap, ClaimsRegularFilesAndFollowsNoLink) {
  fs::create_symlink(m_file, m_data + "/link");
  ASSERT_EQ(mkfifo((m_data + "/fifo").c_str(), 0600), 0);
  const auto claim = [&](const std::string& name) {
    Node one(name);
    orca_objid** secondaries = nullptr;
    int count = 7;
    return m_provider->claim(one.id, &secondaries, &count);
  };
  EXPECT_EQ(claim(m_file), PYX_CLAIM_PRIMARY);
  for (const char* other : {"", "/link", "/fifo", "/absent"}) {
    EXPECT_EQ(claim(m_data + other), PYX_CLAIM_NONE) << other;
  }
}

TEST_F(FileSnap, RefusesValuesThatAreNotAllowedAndKeepsTheOldOnes) {
  ASSERT_EQ(set(m_file, {{"keep", "2"}}), 0);
  EXPECT_EQ(set(m_file, {{"keep", "65"}}), 3);
  EXPECT_EQ(
      lastError(),
      "filesnap: Parameter keep cannot be \"65\"; allowed: 1-64. The values are as they were.");
  EXPECT_EQ(set(m_file, {{"keep", "65"}}), 3);
  EXPECT_EQ(lastError("de"),
            "filesnap: Der Parameter keep kann nicht \"65\" sein; erlaubt: 1-64. Die Werte sind "
            "unverändert.");
  for (const Values& bad :
       {Values{{"keep", "0"}}, Values{{"keep", "3x"}}, Values{{"verify", "1"}},
        Values{{"copy_mode", "fast"}}, Values{{"snapshot_dir", ""}}, Values{{"colour", "red"}}}) {
    EXPECT_EQ(set(m_file, bad), 3) << bad.begin()->first;
  }
  EXPECT_THAT(lastError(), HasSubstr("There is no parameter colour; the parameters are"));
  const auto data = m_provider->privateDataManager()->find(&node(m_file).domain);
  EXPECT_EQ(data->configDataList(1)->getParamData("keep").value, "2");
}

TEST_F(FileSnap, RestoresContentAndModeAndLeavesNothingAfterDispose) {
  ASSERT_EQ(chmod(m_file.c_str(), 04751), 0);
  const std::string made = snapshot({{"verify", "true"}});
  EXPECT_EQ(status(made), 8);
  writeFile(m_file, "other");
  ASSERT_EQ(chmod(m_file.c_str(), 0600), 0);
  EXPECT_EQ(restore(m_file, made), 0);
  EXPECT_EQ(readFile(m_file), m_content);
  EXPECT_EQ(fs::status(m_file).permissions(), fs::perms(04751));
  fs::remove(m_file);
  EXPECT_EQ(restore(m_file, made), 0) << "a file that is gone comes back";
  EXPECT_EQ(dispose(made), 0);
  EXPECT_EQ(status(made), 0);
  EXPECT_THAT(lastError(), HasSubstr("There is no snapshot " + made));
  EXPECT_EQ(dispose(made), 0) << "gone already";
  EXPECT_THAT(contents(m_data), ElementsAre(m_file));
}

TEST_F(FileSnap, NamesSnapshotsWhateverTheNamesAre) {
  fs::current_path(m_data);
  const std::string longest(255, 'n');
  for (const std::string& file : {std::string("disk.img"), std::string("../data/a\nb%"), longest}) {
    SCOPED_TRACE(file);
    writeFile(m_data + "/" + file, "");
    ASSERT_EQ(set(file, {{"snapshot_dir", "snaps/of/all/"}, {"keep", "1"}}), 0);
    ASSERT_EQ(prepare({file}), 0) << lastError();
    for (int i = 0; i < 2; ++i) {
      const Paths made = make({file});
      ASSERT_EQ(made.size(), 1U) << lastError();
      EXPECT_EQ(fs::path(made[0]).parent_path(), m_data + "/snaps/of/all");
      EXPECT_EQ(status(made[0]), 8);
      EXPECT_EQ(restore(file, made[0]), 0) << lastError();
    }
  }
  EXPECT_EQ(contents("snaps/of/all").size(), 3U) << "one of each file is kept";
}

TEST_F(FileSnap, KeepsTheNewestSnapshotsWithinTheLimit) {
  Paths made;
  for (int i = 0; i < 4; ++i) made.push_back(snapshot({{"keep", "2"}}));
  Paths newest(made.end() - 2, made.end());
  std::sort(newest.begin(), newest.end());
  EXPECT_EQ(contents(m_folder), newest);
}

TEST_F(FileSnap, KeepsHolesAsHoles) {
  const off_t size = off_t{1} << 30;
  ASSERT_EQ(truncate(m_file.c_str(), size), 0);
  struct stat data = {};
  ASSERT_EQ(stat((snapshot({{"copy_mode", "copy"}}) + "/data").c_str(), &data), 0);
  EXPECT_EQ(data.st_size, size);
  EXPECT_LT(data.st_blocks * 512, off_t{8} << 20);
}

TEST_F(FileSnap, NoticesWritersAndBadCopies) {
  ASSERT_EQ(set(m_file, {{"verify", "true"}, {"copy_mode", "copy"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0);
  const auto during = [&](const std::function<void()>& action) {
    g_disk.onWrite = action;
    EXPECT_THAT(make({m_file}), IsEmpty());
    EXPECT_THAT(contents(m_folder), IsEmpty());
    return lastError();
  };
  EXPECT_THAT(during([&] { std::ofstream(m_file, std::ios::app) << 'x'; }),
              HasSubstr(m_file + " was written to while it was copied"));
  EXPECT_THAT(during([&] { fs::resize_file(m_file, 5); }), HasSubstr("was written to"));
  const auto flip = [&] { flipByte(contents(m_folder)[0] + "/data"); };
  EXPECT_THAT(during(flip), HasSubstr("does not have the digest of the file"));
}

TEST_F(FileSnap, TellsDamageAndRestoresNothingFromIt) {
  const std::string made = snapshot({{"verify", "true"}});
  flipByte(made + "/data");
  EXPECT_EQ(status(made), 1);
  EXPECT_THAT(lastError(), HasSubstr(made + " is damaged: size or digest differ"));
  writeFile(m_file, "other");
  EXPECT_EQ(restore(m_file, made), 1);
  EXPECT_EQ(readFile(m_file), "other");
  EXPECT_THAT(contents(m_data), ElementsAre(m_folder, m_file)) << "no temporary stays";
  const std::string plain = snapshot();
  fs::resize_file(plain + "/data", 4);
  EXPECT_EQ(status(plain), 1);
  EXPECT_EQ(dispose(made), 0) << "a damaged one can be removed";
}

TEST_F(FileSnap, TouchesNothingThatItDidNotMake) {
  const std::string made = snapshot();
  const Paths foreign = {m_folder + "/.filesnap-tmp.notes", m_folder + "/notes",
                         m_data + "/.filesnap-restore.txt"};
  for (const std::string& file : foreign) writeFile(file, "mine");
  fs::copy(made, m_folder + "/copy", fs::copy_options::recursive);
  EXPECT_EQ(dispose(m_folder + "/copy"), 6) << "has another name than it says";
  EXPECT_EQ(dispose(foreign[1]), 6);
  EXPECT_THAT(lastError(), HasSubstr("is not a snapshot of this provider. It was left alone."));
  EXPECT_EQ(status(m_folder + "/copy"), 1);
  fs::create_symlink(foreign[1], m_data + "/link");
  EXPECT_EQ(restore(m_data + "/link", made), 1) << "would put a file in the link's place";
  EXPECT_EQ(dispose(snapshot({{"keep", "1"}})), 0);
  EXPECT_TRUE(fs::is_symlink(m_data + "/link"));
  EXPECT_TRUE(fs::exists(m_folder + "/copy/data"));
  for (const std::string& file : foreign) EXPECT_EQ(readFile(file), "mine");
}

TEST_F(FileSnap, MakesASnapshotWholeOrNotAtAllWhereverItIsKilled) {
  ASSERT_EQ(set(m_file, {{"copy_mode", "copy"}, {"verify", "true"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0);
  killEverywhere([&] { make({m_file}); },
                 [&] {
                   for (const std::string& made : visible()) {
                     EXPECT_EQ(status(made), 8);
                     EXPECT_EQ(readFile(made + "/data"), m_content);
                     EXPECT_EQ(dispose(made), 0);
                   }
                   EXPECT_EQ(prepare({m_file}), 0);
                   EXPECT_THAT(contents(m_folder), IsEmpty()) << "the next prepare clears up";
                 });
}

TEST_F(FileSnap, RestoresAndRemovesWhollyOrNotAtAllWhereverItIsKilled) {
  std::string made = snapshot({{"verify", "true"}});
  writeFile(m_file, "other");
  killEverywhere([&] { restore(m_file, made); },
                 [&] {
                   EXPECT_THAT(readFile(m_file), testing::AnyOf("other", m_content));
                   EXPECT_EQ(prepare({m_file}), 0);
                   EXPECT_THAT(contents(m_data), ElementsAre(m_folder, m_file));
                 });
  EXPECT_EQ(readFile(m_file), m_content);
  killEverywhere([&] { dispose(made); },
                 [&] {
                   for (const std::string& one : visible()) EXPECT_EQ(status(one), 8);
                   EXPECT_EQ(prepare({m_file}), 0);
                   EXPECT_EQ(contents(m_folder), visible());
                   if (visible().empty()) made = snapshot();
                 });
}

TEST_F(FileSnap, MakesAllSnapshotsOfACallOrNoneWhereverTheDiskIsFull) {
  const Paths files = {m_file, m_data + "/second.img"};
  writeFile(files[1], "second");
  for (int n = 1; n == 1 || g_disk.calls >= g_disk.at; ++n) {
    SCOPED_TRACE("failing change " + std::to_string(n));
    for (const std::string& file : files) ASSERT_EQ(set(file, {{"copy_mode", "copy"}}), 0);
    ASSERT_EQ(prepare(files), 0) << lastError();
    g_disk.calls = 0;
    g_disk.at = n;
    g_disk.fault = Fault::kFail;
    const Paths made = make(files);
    g_disk.fault = Fault::kNone;
    EXPECT_EQ(visible(), made);
    EXPECT_EQ(made.size(), m_result == 0 ? 2U : 0U);
    if (m_result != 0) {
      EXPECT_THAT(lastError(), HasSubstr("No space left on device. No snapshot"));
    }
    for (const std::string& one : made) EXPECT_EQ(dispose(one), 0);
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(g_disk.at, 15) << "few changes were struck";
}

TEST_F(FileSnap, LeavesTemporariesOfTheLivingAlone) {
  ASSERT_EQ(set(m_file, {{"copy_mode", "copy"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0);
  g_disk.onWrite = [&] { EXPECT_EQ(prepare({m_file}), 0); };
  EXPECT_EQ(make({m_file}).size(), 1U) << lastError();
}

TEST_F(FileSnap, SaysWhenAFileSystemHasNoRoomOrSharesNoBlocks) {
  if (!mountOnData("mount -t tmpfs -o size=4m tmpfs ")) {
    GTEST_SKIP() << "no tmpfs can be mounted here";
  }
  ASSERT_EQ(set(m_file, {{"copy_mode", "reflink"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0) << lastError();
  EXPECT_THAT(make({m_file}), IsEmpty());
  EXPECT_THAT(lastError(), HasSubstr("Set copy_mode to auto or copy. No snapshot was made."));
  ASSERT_EQ(set(m_file, {{"copy_mode", "copy"}}), 0);
  EXPECT_EQ(prepare({m_file}), 6);
  EXPECT_THAT(lastError(), HasSubstr(" bytes, and " + m_folder + " has "));
}

TEST_F(FileSnap, SharesBlocksWhereTheFileSystemCan) {
  const std::string image = m_dir.file("image");
  writeFile(image, "");
  fs::resize_file(image, std::uintmax_t{400} << 20);
  if (!mountOnData("mkfs.xfs -q -m reflink=1 " + image + " && mount -o loop " + image + " ")) {
    GTEST_SKIP() << "no XFS can be made and mounted over a loop device here";
  }
  const std::string made = snapshot({{"copy_mode", "reflink"}, {"verify", "true"}});
  EXPECT_EQ(readFile(made + "/data"), m_content);
  writeFile(m_file, "other");
  EXPECT_EQ(status(made), 8);
}

}  // namespace
}  // namespace orca_tests
