#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

#include <cstdarg>
#include <functional>

#include "examples/btrfssnap_fixture.h"

// The provider's files come through here.
namespace {
bool g_isFull = false;  // no file can be made
}
extern "C" __attribute__((visibility("default"))) int openat(int folder, const char* name,
                                                             int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const int mode = va_arg(rest, int);  // not looked at where no file is made
  va_end(rest);
  if (g_isFull && (flags & O_CREAT) != 0) {
    errno = ENOSPC;
    return -1;
  }
  return reinterpret_cast<decltype(&openat)>(dlsym(RTLD_NEXT, "openat"))(folder, name, flags, mode);
}

namespace orca_tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using BtrfsSnap = BtrfsSnapTest;

TEST_F(BtrfsSnap, ClaimsTheRootsOfSubvolumesAlone) {
  fs::create_directory(m_vol + "/folder");
  fs::create_symlink(m_vol, m_data + "/link");
  for (const std::string name : {"/vol", "/vol/", "", "/vol/folder", "/vol/file", "/link", "/no"}) {
    const bool isRoot = name == "/vol" || name == "/vol/" || name.empty();
    EXPECT_EQ(m_provider->claim(Node(m_data + name).id, nullptr, nullptr),
              isRoot ? PYX_CLAIM_PRIMARY : PYX_CLAIM_NONE)
        << name;
  }
}

TEST_F(BtrfsSnap, NamesSnapshotsByThePatternAndTheirUuid) {
  const std::string made = snapshot({{"name", "%n of %s, 100%% %"}});
  EXPECT_THAT(fs::path(made).filename().string(), StartsWith("vol of s1, 100% %."));
  EXPECT_EQ(fs::path(made).extension().string().size(), 33U);
  for (const std::string pattern : {"", "a/b"}) {
    EXPECT_EQ(set(m_vol, {{"name", pattern}}), 3);
    EXPECT_THAT(lastError(), HasSubstr("name cannot be \"" + pattern + "\"; allowed: %n, %s, %t"));
  }
}

TEST_F(BtrfsSnap, IsReadyWhenNoCrashTakesASnapshotAway) {
  snapshot();
  ASSERT_EQ(m_provider->isReady(m_session, split({m_vol}).data(), 1), 0) << lastError();
  EXPECT_EQ(node(m_vol).domain.flags, orca_pdk::FI_NODE_READY);
  fs::rename(m_folder, m_data + "/gone");
  EXPECT_EQ(m_provider->isReady(m_session, split({m_vol}).data(), 1), 6);
  EXPECT_THAT(lastError(), HasSubstr(m_folder + " are made, but a crash may take them away: No"));
}

TEST_F(BtrfsSnap, RestoresAnySnapshotWhateverWasRestoredBefore) {
  const std::string first = snapshot();
  writeFile(m_vol + "/file", "second");
  const std::string second = snapshot();
  writeFile(m_vol + "/file", "third");
  EXPECT_EQ(restore(m_vol, first), 0) << lastError();
  EXPECT_EQ(content(), "first");
  EXPECT_EQ(restore(m_vol, second), 0) << lastError();
  EXPECT_EQ(content(), "second");
  EXPECT_THAT(contents(m_folder), ElementsAre(std::min(first, second), std::max(first, second)));
  EXPECT_EQ(dispose(second), 0);
  EXPECT_EQ(restore(m_vol, first), 0) << lastError();
  erase(m_vol);
  EXPECT_EQ(restore(m_vol, first), 0) << "of a source that is lost: " << lastError();
  EXPECT_EQ(content(), "first");
}

TEST_F(BtrfsSnap, KeepsWhatARestoreReplacesUntilTheSnapshotIsDisposedOf) {
  const std::string made = snapshot({{"keep_replaced", "true"}});
  writeFile(m_vol + "/file", "second");
  create(m_vol + "/inner");
  EXPECT_EQ(restore(m_vol, made), 0) << lastError();
  EXPECT_EQ(content(), "first");
  const Names kept = contents(m_folder);
  ASSERT_EQ(kept.size(), 2U);
  EXPECT_EQ(readFile(kept[0] + "/file"), "second");
  EXPECT_EQ(dispose(made), 6);
  EXPECT_THAT(lastError(), HasSubstr(kept[0] + ", which a restore replaced, could not be removed"));
  EXPECT_EQ(status(made, m_vol), 8);
  erase(kept[0] + "/inner");
  EXPECT_EQ(dispose(made), 0) << lastError();
  EXPECT_THAT(namesIn(m_data), ElementsAre("vol"));
}

TEST_F(BtrfsSnap, ReplacesNothingThatHoldsOtherSubvolumes) {
  const std::string made = snapshot();
  create(m_vol + "/inner");
  writeFile(m_vol + "/inner/file", "inner");
  EXPECT_EQ(restore(m_vol, made), 1);
  EXPECT_THAT(lastError(), HasSubstr(m_vol + " holds other subvolumes, such as inner"));
  EXPECT_EQ(readFile(m_vol + "/inner/file"), "inner");
}

TEST_F(BtrfsSnap, MakesAllSnapshotsOrNone) {
  const std::string other = m_data + "/other";
  create(other);
  ASSERT_EQ(prepare({m_vol, other}), 0) << lastError();
  erase(other);
  EXPECT_THAT(make({m_vol, other}), IsEmpty());
  EXPECT_THAT(lastError(),
              HasSubstr(other + " is not the root of a Btrfs subvolume: No such file"));
  EXPECT_THAT(contents(m_folder), IsEmpty());
  create(other);
  ASSERT_EQ(set(other, {{"snapshot_dir", m_dir.file("tmp")}}), 0);
  EXPECT_EQ(prepare({m_vol, other}), 6);
  EXPECT_THAT(lastError(), HasSubstr("tmp is not on the file system of " + other));
  EXPECT_THAT(make({m_vol, other}), IsEmpty()) << "in the second folder";
  EXPECT_THAT(contents(m_folder), IsEmpty());
}

TEST_F(BtrfsSnap, TakesNothingElseForASnapshotThatHadItsName) {
  const std::string made = snapshot();
  erase(made);
  const std::function<void()> others[] = {[&] { create(made); },
                                          [&] {
                                            btrfs({"subvolume", "snapshot", "-r", m_vol, made});
                                          },
                                          [&] { writeFile(made, "file"); },
                                          [&] { fs::create_directory_symlink(m_vol, made); }};
  for (const auto& plant : others) {
    plant();
    EXPECT_EQ(status(made, m_vol), 0);
    EXPECT_THAT(lastError(), HasSubstr(made + " is not the snapshot that had this name"));
    EXPECT_EQ(restore(m_vol, made), 1);
    EXPECT_EQ(import(made), "");
    EXPECT_EQ(dispose(made), 0) << "it is gone";
    EXPECT_THAT(contents(m_folder), ElementsAre(made));
    fs::is_symlink(made) || fs::is_regular_file(made) ? void(fs::remove(made)) : erase(made);
  }
}

TEST_F(BtrfsSnap, TakesNoSnapshotForOneOfAnotherSubvolume) {
  const std::string made = snapshot();
  ASSERT_EQ(restore(m_vol, made), 0) << lastError();
  const std::string other = m_data + "/other";
  btrfs({"subvolume", "snapshot", m_vol, other});  // with the attributes of the restored one
  EXPECT_EQ(status(made, m_vol), 8);
  EXPECT_EQ(status(made, other), 0);
  EXPECT_EQ(restore(other, made), 1);
  EXPECT_THAT(lastError(), HasSubstr(made + " is not one of " + other));
}

TEST_F(BtrfsSnap, FindsThatAReadOnlySnapshotWasWrittenTo) {
  const std::string made = snapshot();
  btrfs({"property", "set", made, "ro", "false"});
  EXPECT_EQ(status(made, m_vol), 1);
  writeFile(made + "/file", "forged");
  btrfs({"filesystem", "sync", m_data});
  btrfs({"property", "set", made, "ro", "true"});
  EXPECT_EQ(status(made, m_vol), 1);
  EXPECT_EQ(restore(m_vol, made), 1);
  EXPECT_THAT(lastError(), HasSubstr(made + " was made read-only, and could be written to since"));
  EXPECT_EQ(dispose(made), 0) << lastError();
}

TEST_F(BtrfsSnap, MakesWritableSnapshotsWhereThatIsWanted) {
  EXPECT_FALSE(std::ofstream(snapshot() + "/file"));
  const std::string made = snapshot({{"writable", "true"}});
  writeFile(made + "/file", "changed");
  EXPECT_EQ(status(made, m_vol), 8);
  EXPECT_EQ(restore(m_vol, made), 0) << lastError();
  EXPECT_EQ(content(), "changed");
}

// Waits for the next tick, some milliseconds away, of the clock that dates what is made in a file
// system: what was made in the same as a session began may be younger.
void nextTick() {
  const auto ticked = [] {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return now.tv_nsec;
  };
  for (const long before = ticked(); ticked() == before;) continue;
}

TEST_F(BtrfsSnap, KeepsAsManySnapshotsOfEachSubvolumeAsAreWanted) {
  const std::string other = m_data + "/other";
  create(other);
  const std::string others = snapshot({{"name", "x"}}, other);
  Names made;
  for (int i = 0; i < 4; ++i) {
    made.push_back(snapshot({{"name", "x"}, {"keep", "2"}}));
    nextTick();
    load();  // the next session
  }
  Names kept{others, made[2], made[3]};
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(contents(m_folder), kept);
}

TEST_F(BtrfsSnap, ShowsAnImportedSnapshotAtAPlaceOfItsOwnUntilItIsDeported) {
  const std::string made = snapshot({{"writable", "true"}});
  const std::string place = import(made);
  EXPECT_EQ(m_result, 0) << lastError();
  EXPECT_THAT(place, StartsWith(m_imports.string()));
  writeFile(place + "/file", "changed");
  EXPECT_EQ(readFile(made + "/file"), "changed");
  EXPECT_EQ(import(made, orca_pdk::FI_IMPORT_READ_ONLY), place) << lastError();
  EXPECT_FALSE(std::ofstream(place + "/file")) << "read-only from now on";
  EXPECT_EQ(dispose(made), 6);
  EXPECT_THAT(lastError(), HasSubstr(made + " is imported as " + place));
  {
    const std::ifstream inUse(place + "/file");
    EXPECT_EQ(deport(made), 6);
    EXPECT_THAT(lastError(), HasSubstr("could not be deported: Device or resource busy"));
  }
  for (int i = 0; i < 2; ++i) EXPECT_EQ(deport(made), 0) << lastError();
  EXPECT_FALSE(fs::exists(m_imports));
  EXPECT_EQ(dispose(made), 0) << lastError();
  EXPECT_EQ(import(made, 0), "");
  EXPECT_EQ(m_result, 6);
}

TEST_F(BtrfsSnap, FindsASnapshotOnAnotherMountOfItsFileSystem) {
  const std::string made = snapshot();
  const std::string mount = m_dir.file("mount");
  fs::create_directory(mount);
  ASSERT_EQ(::mount(m_data.c_str(), mount.c_str(), nullptr, MS_BIND, nullptr), 0);
  const std::string there = mount + "/.btrfssnap/" + fs::path(made).filename().string();
  EXPECT_EQ(status(there, m_vol), 8);
  EXPECT_EQ(import(there), import(made));
  EXPECT_EQ(deport(there), 0) << lastError();
  EXPECT_EQ(dispose(there), 0) << lastError();
  umount2(mount.c_str(), MNT_DETACH);
  EXPECT_EQ(status(made, m_vol), 0);
}

TEST_F(BtrfsSnap, RemovesWhatADeadProcessLeftAndNothingElse) {
  const std::string made = snapshot();
  for (const std::string name : {"tmp.0a1b2c", "tmp.0a1b2g", "tmp.0a1b2c3"}) {
    create(m_folder + "/.btrfssnap-" + name);
  }
  ASSERT_EQ(prepare({m_vol}), 0) << lastError();
  EXPECT_THAT(namesIn(m_folder), ElementsAre(".btrfssnap-tmp.0a1b2c3", ".btrfssnap-tmp.0a1b2g",
                                             fs::path(made).filename()));
}

TEST_F(BtrfsSnap, DisposesWhereThereIsNoRoomForALock) {
  const std::string made = snapshot();
  g_isFull = true;
  EXPECT_EQ(restore(m_vol, made), 1);
  EXPECT_THAT(lastError(), HasSubstr(m_vol + " could not be restored: No space left on device"));
  EXPECT_EQ(dispose(made), 0) << lastError();
  g_isFull = false;
  EXPECT_EQ(status(made, m_vol), 0);
}

TEST_F(BtrfsSnap, TakesNoSubvolumeForAMountThatNobodyCanMove) {
  const std::string open = m_data + "/open";
  fs::create_directory(open);
  for (const std::string& path : {open + "/sub", open + "/sub/vol"}) create(path);
  ASSERT_EQ(prepare({open + "/sub/vol"}), 0) << lastError();
  ASSERT_EQ(chmod(open.c_str(), 0777), 0);
  EXPECT_EQ(prepare({open + "/sub/vol"}), 6);
  EXPECT_THAT(lastError(), HasSubstr(open + " is not trusted: it belongs to user 0 and has mode"));
}

TEST_F(BtrfsSnap, FollowsNoLinkOnTheWayToSnapshots) {
  const std::string elsewhere = m_data + "/elsewhere";
  const std::string made = snapshot();
  fs::rename(m_folder, elsewhere);
  fs::create_directory_symlink(elsewhere, m_folder);
  EXPECT_EQ(prepare({m_vol}), 6);
  EXPECT_THAT(lastError(), HasSubstr(m_folder + ": Too many levels of symbolic links"));
  EXPECT_EQ(restore(m_vol, made), 1);
  EXPECT_EQ(dispose(made), 6);
  EXPECT_EQ(contents(elsewhere).size(), 1U);
}

}  // namespace
}  // namespace orca_tests
