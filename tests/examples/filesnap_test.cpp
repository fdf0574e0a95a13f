#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdarg>

#include "examples/filesnap_fixture.h"
#include "support/private_usr.h"
#include "support/run_command.h"

// What the provider reads, writes, opens and waits for comes through here.
namespace {

struct {
  std::function<void()> onWrite;  // done once, after the next write
  std::size_t bytesRead = 0;
  int infosOpened = 0;
  int sleeps = 0;
} g_disk;

template <typename Function, typename... Arguments>
auto next(Function*, const char* name, Arguments... arguments) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace

#define DISK_CALL extern "C" __attribute__((visibility("default")))
DISK_CALL ssize_t pwrite(int file, const void* data, size_t size, off_t at) {
  const ssize_t put = next(&pwrite, "pwrite", file, data, size, at);
  if (g_disk.onWrite) std::exchange(g_disk.onWrite, nullptr)();
  return put;
}
DISK_CALL ssize_t pread(int file, void* data, size_t size, off_t at) {
  const ssize_t got = next(&pread, "pread", file, data, size, at);
  if (got > 0) g_disk.bytesRead += static_cast<std::size_t>(got);
  return got;
}
DISK_CALL int openat(int folder, const char* name, int flags, ...) {
  if (std::string_view(name) == "info") ++g_disk.infosOpened;
  va_list rest;
  va_start(rest, flags);
  const int mode = va_arg(rest, int);  // not looked at where no file is made
  va_end(rest);
  return next(&openat, "openat", folder, name, flags, mode);
}
DISK_CALL int nanosleep(const timespec*, timespec*) {
  ++g_disk.sleeps;
  return 0;
}

namespace orca_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

void flipByte(const std::string& file) { std::fstream(file, std::ios::in | std::ios::out) << 'x'; }

void replaceIn(const std::string& file, const std::string& from, const std::string& to) {
  std::string text = readFile(file);
  const std::size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from << " is not in " << text;
  writeFile(file, text.replace(at, from.size(), to));
}

class FileSnap : public FileSnapTest {
 protected:
  ~FileSnap() override {
    g_disk = {};
    umount2(m_data.c_str(), MNT_DETACH);  // where a test mounted there
  }

  // Mounts a file system on the data folder, with a new source file; false where nobody may. The
  // command ends where the folder's name follows; its $0 is a path for an image.
  bool mountOnData(const std::string& command) {
    const Names shell{"sh", "-c", command + m_data, m_dir.file("image")};
    if (!isUsrPrivate() || runCommand(shell).status != 0) return false;
    writeFile(m_file, m_content);
    return true;
  }
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
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(prepare({file}), 0) << lastError();
      const Names made = make({file});
      ASSERT_EQ(made.size(), 1U) << lastError();
      EXPECT_EQ(fs::path(made[0]).parent_path(), m_data + "/snaps/of/all");
      EXPECT_EQ(restore(file, made[0]), 0) << lastError();
    }
    load();
  }
  EXPECT_EQ(contents("snaps/of/all").size(), 3U) << "one of each file is kept";
}

TEST_F(FileSnap, KeepsTheNewestSnapshotsWithinTheLimit) {
  Names made;
  for (int i = 0; i < 4; ++i) made.push_back(snapshot({{"keep", "2"}}));
  EXPECT_THAT(contents(m_folder), testing::IsSupersetOf(made.begin() + 1, made.end()))
      << "nothing goes before the new one is in the host's list";
  unload();
  EXPECT_THAT(contents(m_folder), testing::UnorderedElementsAre(made[2], made[3]));
}

TEST_F(FileSnap, KeepsWhatOtherSessionsMadeMeanwhile) {
  const std::string old = snapshot();
  ASSERT_EQ(set(m_file, {{"keep", "1"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0);
  inChild([&] { snapshot({{"keep", "8"}}); });
  Names kept = contents(m_folder);
  kept.erase(std::find(kept.begin(), kept.end(), old));
  kept.push_back(make({m_file})[0]);
  unload();
  EXPECT_THAT(contents(m_folder), testing::UnorderedElementsAreArray(kept));
  EXPECT_EQ(kept.size(), 2U);
}

TEST_F(FileSnap, KeepsWhatAnotherProcessIsNotThroughWith) {
  const std::string made = snapshot();
  inChild([&] {
    snapshot({{"keep", "1"}});
    m_provider->fini();
  });
  EXPECT_EQ(status(made), 8);
  snapshot({{"keep", "1"}});
  m_provider->fini();
  EXPECT_EQ(contents(m_folder).size(), 1U) << "those of the dead go";
}

TEST_F(FileSnap, NamesWhoHoldsTheLockOfTheFolder) {
  snapshot({{"keep", "1"}});
  snapshot({{"keep", "1"}});
  const std::string lock = m_folder + "/.filesnap-tmp.locked";
  writeFile(lock, "4711");
  const int held = open(lock.c_str(), O_RDONLY);
  ASSERT_EQ(flock(held, LOCK_EX), 0);
  g_disk.sleeps = 0;
  m_provider->fini();
  EXPECT_THAT(lastError(), HasSubstr("The lock " + lock + " is held by process 4711"));
  EXPECT_EQ(g_disk.sleeps, 600) << "of 50 ms";
  close(held);
}

TEST_F(FileSnap, NeverUsesANameTwice) {
  const std::string first = snapshot();
  ASSERT_EQ(dispose(first), 0);
  EXPECT_NE(snapshot(), first);
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
  const auto spoil = [&] {
    for (const auto& entry : fs::recursive_directory_iterator(m_folder)) {
      if (entry.path().filename() == "data") flipByte(entry.path());
    }
  };
  EXPECT_THAT(during(spoil), HasSubstr("does not have the digest of the file"));
}

TEST_F(FileSnap, TellsDamageAndRestoresNothingFromIt) {
  const std::string made = snapshot({{"verify", "true"}});
  flipByte(made + "/data");
  EXPECT_EQ(status(made), 1);
  EXPECT_THAT(lastError(), HasSubstr(made + " is damaged: size, time or digest differ"));
  writeFile(m_file, "other");
  EXPECT_EQ(restore(m_file, made), 1);
  EXPECT_EQ(readFile(m_file), "other");
  EXPECT_THAT(contents(m_data), ElementsAre(m_folder, m_file)) << "no temporary stays";
  const std::string plain = snapshot({{"verify", "false"}});
  flipByte(plain + "/data");
  EXPECT_EQ(status(plain), 1) << "written to since it was made";
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

TEST_F(FileSnap, ReadsTheCopyOnceToVerifyIt) {
  ASSERT_EQ(set(m_file, {{"copy_mode", "copy"}, {"verify", "true"}}), 0);
  ASSERT_EQ(prepare({m_file}), 0);
  g_disk.bytesRead = 0;
  ASSERT_EQ(make({m_file}).size(), 1U);
  EXPECT_EQ(g_disk.bytesRead, 2 * m_content.size());
}

TEST_F(FileSnap, ReadsAnUntouchedSnapshotForItsStatusOnlyWhereThatIsWanted) {
  const std::string made = snapshot({{"verify", "true"}});
  const auto readFor = [&](const char* deep) {
    EXPECT_EQ(set(m_file, {{"deep", deep}}), 0);
    g_disk.bytesRead = 0;
    EXPECT_EQ(status(made, m_file), 8);
    return g_disk.bytesRead;
  };
  EXPECT_LT(readFor("false"), 2000U) << "the info";
  EXPECT_GT(readFor("true"), m_content.size());
}

TEST_F(FileSnap, ReadsTheInfoOfBefore) {
  const std::string made = snapshot();
  EXPECT_THAT(readFile(made + "/info"), HasSubstr("\"format\": \"filesnap-2\""));
  writeFile(made + "/info",
            "format=filesnap-1\nname=" + fs::path(made).filename().string() + "\nsource=" + m_file +
                "\nsession=s1\ndigest=\ncreated=7\nsize=" + std::to_string(m_content.size()) +
                "\nmode=416\nowner=0\ngroup=0\nend=\n");
  EXPECT_EQ(status(made), 8);
  ASSERT_EQ(restore(m_file, made), 0) << lastError();
  EXPECT_EQ(fs::status(m_file).permissions(), fs::perms(0640));
}

TEST_F(FileSnap, TakesManyFilesWithFewDescriptorsAndReadsEachInfoOnce) {
  Names files;
  for (int i = 0; i < 80; ++i) {
    files.push_back(m_data + "/" + std::to_string(i % 40) + "/file" + std::to_string(i));
    fs::create_directories(fs::path(files.back()).parent_path());
    writeFile(files.back(), "");
    ASSERT_EQ(set(files.back(), {{"keep", "1"}, {"snapshot_dir", i < 40 ? m_folder : "snaps"}}), 0);
  }
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{48, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  ASSERT_EQ(prepare(files), 0) << lastError();
  EXPECT_EQ(make(files).size(), 80U) << lastError();
  g_disk.infosOpened = 0;
  unload();
  EXPECT_EQ(g_disk.infosOpened, 80);
  setrlimit(RLIMIT_NOFILE, &before);
}

// What another user can make or change on the way to a snapshot; each is told by its name.
TEST_F(FileSnap, BelievesNothingThatOthersCouldHaveChanged) {
  if (!giveToUser()) GTEST_SKIP() << "only root can give files to another user";
  ASSERT_EQ(chown(m_data.c_str(), 0, 0), 0);
  const std::string made = snapshot();
  const auto owns = [](const std::string& path, uid_t user) {
    ASSERT_EQ(lchown(path.c_str(), user, user), 0) << path;
  };
  const auto mode = [](const std::string& path, mode_t bits) {
    ASSERT_EQ(chmod(path.c_str(), bits), 0) << path;
  };
  const std::string second = m_data + "/second";
  const struct {
    std::string thing;
    std::function<void()> spoil, mend;
  } cases[] = {
      {m_data, [&] { mode(m_data, 0777); }, [&] { mode(m_data, 0755); }},
      {m_data, [&] { owns(m_data, kUser + 1); }, [&] { owns(m_data, 0); }},
      {m_folder, [&] { mode(m_folder, 0770); }, [&] { mode(m_folder, 0700); }},
      {made, [&] { owns(made, kUser + 1); }, [&] { owns(made, 0); }},
      {made + "/info", [&] { mode(made + "/info", 0620); }, [&] { mode(made + "/info", 0600); }},
      {made + "/data", [&] { owns(made + "/data", kUser + 1); }, [&] { owns(made + "/data", 0); }},
      {made + "/data", [&] { fs::create_hard_link(made + "/data", second); },
       [&] { fs::remove(second); }}};
  for (const auto& [thing, spoil, mend] : cases) {
    SCOPED_TRACE(thing);
    spoil();
    EXPECT_EQ(restore(m_file, made), 1);
    EXPECT_THAT(lastError(), HasSubstr(": " + thing + " is not trusted: it belongs to user "));
    EXPECT_EQ(status(made), 1);
    mend();
  }
  mode(m_data, 01777);
  EXPECT_EQ(restore(m_file, made), 0) << "nobody else can rename in a sticky folder" << lastError();
}

TEST_F(FileSnap, GivesNobodyMoreThanTheMakerOfASnapshotHas) {
  if (!giveToUser()) GTEST_SKIP() << "only root can give files to another user";
  asUser([&] { snapshot(); });
  const std::string made = contents(m_folder).at(0);
  EXPECT_EQ(restore(m_file, made), 0) << "root believes a user's word of the user's own things";
  const std::string honest = readFile(made + "/info");
  for (const std::string forged : {"\"owner\": 0", "\"group\": 0", "\"mode\": 2541"}) {
    SCOPED_TRACE(forged);
    const std::string key = forged.substr(0, forged.find(' '));
    const std::size_t at = honest.find(key);
    replaceIn(made + "/info", honest.substr(at, honest.find(',', at) - at), forged);
    EXPECT_EQ(restore(m_file, made), 1);
    EXPECT_THAT(lastError(), HasSubstr("was made by user 12345 and claims an owner, a group or"));
    EXPECT_EQ(fs::status(m_file).permissions() & fs::perms::set_uid, fs::perms::none);
    std::ofstream(made + "/info") << honest;
  }
}

TEST_F(FileSnap, FollowsNoLinkOnTheWayToSnapshots) {
  const std::string elsewhere = m_data + "/elsewhere";
  fs::create_directory(elsewhere);
  fs::create_directory_symlink(elsewhere, m_folder);
  EXPECT_EQ(prepare({m_file}), 6);
  EXPECT_THAT(lastError(), HasSubstr(m_folder + ": Too many levels of symbolic links"));
  fs::remove(m_folder);
  const std::string made = snapshot();
  fs::rename(m_folder, elsewhere + "/moved");
  fs::create_directory_symlink(elsewhere + "/moved", m_folder);
  EXPECT_EQ(restore(m_file, made), 1);
  EXPECT_EQ(dispose(made), 6);
  EXPECT_EQ(contents(elsewhere + "/moved").size(), 1U);
}

TEST_F(FileSnap, RestoresOnlyTheFileThatTheSnapshotIsOf) {
  const std::string made = snapshot();
  const std::string other = m_data + "/other";
  writeFile(other, "other");
  EXPECT_EQ(restore(other, made), 1);
  EXPECT_THAT(lastError(), HasSubstr(made + " is one of " + m_file + ", not of " + other));
  EXPECT_EQ(readFile(other), "other");
}

TEST_F(FileSnap, SaysWhyASnapshotCannotBeRead) {
  if (!giveToUser()) GTEST_SKIP() << "only root can give files to another user";
  const std::string made = snapshot();
  asUser([&] {
    EXPECT_EQ(status(made), 1);
    EXPECT_THAT(lastError(), HasSubstr(made + " cannot be read: Permission denied"));
  });
}

}  // namespace
}  // namespace orca_tests
