#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <functional>

#include "examples/provider_test.h"
#include "support/private_usr.h"
#include "support/run_command.h"

// The calls by which the provider changes a disk come through here.
namespace {

struct {
  int calls = 0;                  // seen so far
  int killing = 0;                // the call that kills the process
  int failing = 0;                // the call that fails
  std::function<void()> onWrite;  // done once, after the next write
} g_disk;

// True when the call must fail.
bool strikes() {
  if (++g_disk.calls == g_disk.killing) raise(SIGKILL);
  if (g_disk.calls != g_disk.failing) return false;
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

namespace orca_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

void flipByte(const std::string& file) { std::fstream(file, std::ios::in | std::ios::out) << 'x'; }

// What is in a folder, hidden names included.
Names contents(const fs::path& folder) {
  Names paths;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(folder, none)) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  return paths;
}

// Runs an action in a child that a kill strikes at its n-th change of the disk, for every n there
// is; looks at the disk after each.
void killEverywhere(const std::function<void()>& action, const std::function<void()>& look) {
  for (int n = 1;; ++n) {
    SCOPED_TRACE("killed at change " + std::to_string(n));
    const pid_t child = fork();
    if (child == 0) {
      g_disk.killing = g_disk.calls + n;
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

class FileSnap : public ProviderTest {
 protected:
  FileSnap() : ProviderTest(FILESNAP_PLUGIN, FILESNAP_CATALOG) {
    writeFile(m_file, m_content);
    load();
  }
  ~FileSnap() override { umount2(m_data.c_str(), MNT_DETACH); }  // where a test mounted there

  std::string snapshot(const Values& values = {}) {
    EXPECT_EQ(set(m_file, values), 0) << lastError();
    EXPECT_EQ(prepare({m_file}), 0) << lastError();
    const Names paths = make({m_file});
    EXPECT_EQ(paths.size(), 1U) << lastError();
    return paths.empty() ? "" : paths[0];
  }

  long restore(const std::string& file, const std::string& snapshot) {
    Node first(file), second(snapshot);
    long answer = -1;
    const int result = m_provider->restore(&first.id, &second.id, 1, nullptr, nullptr, nullptr,
                                           nullptr, 0, &answer);
    EXPECT_EQ(result == 0, answer == 0);
    return answer;
  }

  // Mounts a file system on the data folder, with a new source file; false where nobody may. The
  // command ends where the folder's name follows; its $0 is a path for an image.
  bool mountOnData(const std::string& command) {
    const Names shell{"sh", "-c", command + m_data, m_dir.file("image")};
    if (!isUsrPrivate() || runCommand(shell).status != 0) return false;
    writeFile(m_file, m_content);
    return true;
  }

  const std::string m_data = fs::canonical(m_dir.path()).string() + "/data";
  const std::string m_file = m_data + "/disk.img";
  const std::string m_folder = m_data + "/.filesnap";
  const std::string m_content = std::string(1300000, 'a') + std::string(1300000, 'b');
};

TEST_F(FileSnap, ClaimsRegularFilesAndFollowsNoLink) {
  fs::create_symlink(m_file, m_data + "/link");
  ASSERT_EQ(mkfifo((m_data + "/fifo").c_str(), 0600), 0);
  for (const std::string name : {"/disk.img", "", "/link", "/fifo", "/absent"}) {
    orca_objid** secondaries = nullptr;
    int count = 7;
    EXPECT_EQ(m_provider->claim(Node(m_data + name).id, &secondaries, &count),
              name == "/disk.img" ? PYX_CLAIM_PRIMARY : PYX_CLAIM_NONE)
        << name;
  }
}

TEST_F(FileSnap, RefusesValuesThatAreNotAllowedAndKeepsTheOldOnes) {
  ASSERT_EQ(set(m_file, {{"keep", "2"}}), 0);
  const std::array<std::string, 3> cases[] = {
      {"keep", "65", "filesnap: Parameter keep cannot be \"65\"; allowed: 1-64. The values are as"},
      {"keep", "0", "allowed: 1-64"},
      {"keep", "3x", "allowed: 1-64"},
      {"verify", "1", "allowed: true, false"},
      {"copy_mode", "fast", "allowed: auto, reflink, copy"},
      {"snapshot_dir", "", "Parameter snapshot_dir cannot be"},
      {"colour", "red", "There is no parameter colour; the parameters are"}};
  for (const auto& [key, value, sentence] : cases) {
    EXPECT_EQ(set(m_file, {{key, value}}), 3) << key;
    EXPECT_THAT(lastError(), HasSubstr(sentence));
  }
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
  for (const std::string& file : Names{"disk.img", "../data/a\nb%", std::string(255, 'n')}) {
    SCOPED_TRACE(file);
    writeFile(m_data + "/" + file, "");
    ASSERT_EQ(set(file, {{"snapshot_dir", "snaps/of/all/"}, {"keep", "1"}}), 0);
    ASSERT_EQ(prepare({file}), 0) << lastError();
    for (int i = 0; i < 2; ++i) {
      const Names made = make({file});
      ASSERT_EQ(made.size(), 1U) << lastError();
      EXPECT_EQ(fs::path(made[0]).parent_path(), m_data + "/snaps/of/all");
      EXPECT_EQ(restore(file, made[0]), 0) << lastError();
    }
  }
  EXPECT_EQ(contents("snaps/of/all").size(), 3U) << "one of each file is kept";
}

TEST_F(FileSnap, KeepsTheNewestSnapshotsWithinTheLimit) {
  Names made;
  for (int i = 0; i < 4; ++i) made.push_back(snapshot({{"keep", "2"}}));
  EXPECT_THAT(contents(m_folder), testing::UnorderedElementsAre(made[2], made[3]));
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
  EXPECT_THAT(during([&] { flipByte(contents(m_folder)[0] + "/data"); }),
              HasSubstr("does not have the digest of the file"));
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
  const Names foreign = {m_folder + "/.filesnap-tmp.notes", m_folder + "/notes",
                         m_data + "/.filesnap-restore.txt"};
  for (const std::string& file : foreign) writeFile(file, "mine");
  fs::copy(made, m_folder + "/copy", fs::copy_options::recursive);
  EXPECT_EQ(dispose(m_folder + "/copy"), 6) << "has another name than it says";
  EXPECT_EQ(dispose(foreign[1]), 6);
  EXPECT_THAT(lastError(), HasSubstr("is not a snapshot of this provider. It was left alone."));
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
  const auto look = [&] {
    EXPECT_EQ(prepare({m_file}), 0) << "which clears up";
    for (const std::string& made : contents(m_folder)) {
      EXPECT_EQ(status(made), 8);
      EXPECT_EQ(readFile(made + "/data"), m_content);
      EXPECT_EQ(dispose(made), 0);
    }
  };
  killEverywhere([&] { make({m_file}); }, look);
}

TEST_F(FileSnap, RestoresAndRemovesWhollyOrNotAtAllWhereverItIsKilled) {
  std::string made = snapshot({{"verify", "true"}});
  writeFile(m_file, "other");
  const auto lookAtFile = [&] {
    EXPECT_THAT(readFile(m_file), testing::AnyOf("other", m_content));
    EXPECT_EQ(prepare({m_file}), 0);
    EXPECT_THAT(contents(m_data), ElementsAre(m_folder, m_file));
  };
  killEverywhere([&] { restore(m_file, made); }, lookAtFile);
  EXPECT_EQ(readFile(m_file), m_content);
  const auto lookAtSnapshot = [&] {
    EXPECT_EQ(prepare({m_file}), 0);
    for (const std::string& one : contents(m_folder)) EXPECT_EQ(status(one), 8);
    if (contents(m_folder).empty()) made = snapshot();
  };
  killEverywhere([&] { dispose(made); }, lookAtSnapshot);
}

TEST_F(FileSnap, MakesAllSnapshotsOfACallOrNoneWhereverTheDiskIsFull) {
  const Names files = {m_file, m_data + "/second.img"};
  writeFile(files[1], "second");
  for (const std::string& file : files) ASSERT_EQ(set(file, {{"copy_mode", "copy"}}), 0);
  ASSERT_EQ(prepare(files), 0) << lastError();
  int calls = 0;
  for (int n = 1; calls >= n - 1; ++n) {
    SCOPED_TRACE("failing change " + std::to_string(n));
    g_disk.calls = 0;
    g_disk.failing = n;
    const Names made = make(files);
    g_disk.failing = 0;
    calls = g_disk.calls;
    EXPECT_EQ(prepare(files), 0);
    EXPECT_EQ(contents(m_folder), made);
    EXPECT_EQ(made.size(), m_result == 0 ? 2U : 0U);
    EXPECT_THAT(lastError(), HasSubstr(m_result == 0 ? "no error" : "No space left on device. No"));
    for (const std::string& one : made) EXPECT_EQ(dispose(one), 0);
  }
  EXPECT_GT(calls, 15) << "few changes were struck";
}

TEST_F(FileSnap, LeavesTemporariesOfTheLivingAlone) {
  ASSERT_EQ(set(m_file, {{"copy_mode", "copy"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0);
  g_disk.onWrite = [&] { EXPECT_EQ(prepare({m_file}), 0); };
  EXPECT_EQ(make({m_file}).size(), 1U) << lastError();
}

TEST_F(FileSnap, SaysWhenThereIsNoRoomOrNoSharingAndNeedsNoRoomForHoles) {
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
  fs::resize_file(m_file, 1300000);
  fs::resize_file(m_file, 1 << 30);
  EXPECT_EQ(fs::file_size(snapshot({{"copy_mode", "copy"}}) + "/data"), 1U << 30);
}

TEST_F(FileSnap, SharesBlocksWhereTheFileSystemCan) {
  if (!mountOnData("truncate -s 400M $0; mkfs.xfs -q -m reflink=1 $0 && mount -o loop $0 ")) {
    GTEST_SKIP() << "no XFS can be made and mounted over a loop device here";
  }
  EXPECT_EQ(readFile(snapshot({{"copy_mode", "reflink"}}) + "/data"), m_content);
}

}  // namespace
}  // namespace orca_tests
