#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>

#include "framework/test_provider.h"

namespace {

// What stands in for the system while it is set: each call is recorded and answered.
struct System {
  std::vector<std::string> calls;
  std::function<int(struct stat&)> onStat = [](struct stat&) { return 0; };
  std::function<int()> onChown = [] { return 0; };
};
System* g_system = nullptr;

template <typename Function>
Function* realOf(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int stat(const char* path, struct stat* status) noexcept {
  if (g_system == nullptr) return realOf(&stat, "stat")(path, status);
  g_system->calls.push_back("stat");
  return g_system->onStat(*status);
}

int chown(const char* path, uid_t owner, gid_t group) noexcept {
  if (g_system == nullptr) return realOf(&chown, "chown")(path, owner, group);
  g_system->calls.push_back("chown " + std::to_string(owner) + " " + std::to_string(group));
  return g_system->onChown();
}

unsigned sleep(unsigned seconds) {
  if (g_system == nullptr) return realOf(&sleep, "sleep")(seconds);
  g_system->calls.push_back("sleep " + std::to_string(seconds));
  return seconds > 10 ? 10 : 0;
}

}  // extern "C"

namespace orca_tests {
namespace {

class Ownership : public ProviderTest {
 protected:
  // The operation on "/dev/x" with the system replaced: its result and last line.
  std::string setOwnerIds(long owner, long group, const char* resource = "/dev/x") {
    m_system.calls.clear();
    g_system = &m_system;
    const int result = m_provider.setOwnerIds(resource, owner, group);
    g_system = nullptr;
    m_body = m_recorder.takeBody();
    return std::to_string(result) + " " + m_body.back();
  }
  void showIds(uid_t owner, gid_t group) {
    m_system.onStat = [=](struct stat& status) {
      status.st_uid = owner;
      status.st_gid = group;
      return 0;
    };
  }

  System m_system;
  Texts m_body;
};

int fail() {
  errno = EPERM;
  return -1;
}

TEST_F(Ownership, ChangesTheOwnerTwiceWithoutAWaitWhenItShowsAtOnce) {
  showIds(7, 8);
  EXPECT_EQ(setOwnerIds(7, 8), "0 3 INFO: setOwnerIds done");
  EXPECT_EQ(m_system.calls, (Texts{"stat", "chown 7 8", "chown 7 8", "stat"}));
  EXPECT_EQ(m_body,
            (Texts{"3 INFO: setOwnerIds for [/dev/x] with ownerid=[7], groupid=[8]",
                   "3 INFO: setOwnerIds chown for [/dev/x] with OwnerId=7, GroupId=8",
                   "3 INFO: setOwnerIds chown retry count [0] with OwnerId=7, GroupId=8",
                   "3 INFO: stat on [/dev/x], st.st_uid=[7], st.st_gid=[8] uid= [7], gid = [8]",
                   "3 setOwnerIds: Got matching gid, pid.", "3 INFO: setOwnerIds done"}));
}

TEST_F(Ownership, WaitsTenTimesAndSucceedsWhenItNeverShows) {
  const auto none = static_cast<uid_t>(-1);
  const std::tuple<uid_t, gid_t, long, long> cases[] = {
      {none, none, -1, -1}, {7, 9, 7, 8}, {6, 8, 7, 8}};
  for (const auto& [owner, group, wantedOwner, wantedGroup] : cases) {
    showIds(owner, group);
    EXPECT_EQ(setOwnerIds(wantedOwner, wantedGroup), "0 3 INFO: setOwnerIds done");
    const auto count = [&](const char* call) {
      return std::count_if(m_system.calls.begin(), m_system.calls.end(),
                           [&](const std::string& each) { return each.starts_with(call); });
    };
    EXPECT_EQ(count("chown"), 11);
    EXPECT_EQ(count("sleep 30"), 10);
    EXPECT_EQ(count("sleep 10"), 10) << "the rest of a wait that a signal ended";
    ASSERT_EQ(m_body.size(), 33U);
    EXPECT_TRUE(m_body[29].starts_with("3 INFO: setOwnerIds chown retry count [9] with "));
    EXPECT_EQ(m_body[31], "3 setOwnerIds: Waiting for system to read. Partition table.");
  }
}

TEST_F(Ownership, SaysWhichStepFailed) {
  const std::string noChown =
      "1091 1 Error: set_owner_ids - chown: Unable to chown resource /dev/x, errno=[1].";
  EXPECT_EQ(setOwnerIds(7, 8, ""), "3 1 Error: setOwnerIds - invalid resource specified");
  EXPECT_EQ(m_system.calls, Texts());
  int looks = 0;
  m_system.onStat = [&](struct stat&) { return looks++ == 0 ? 0 : fail(); };
  EXPECT_EQ(setOwnerIds(7, 8),
            "18 1 Error: set_owner_ids - stat: Unable to stat resource /dev/x, errno=[1].");
  EXPECT_EQ(setOwnerIds(7, 8),
            "18 1 Error: setOwnerIds: Unable to stat partition /dev/x errno=[1]");
  showIds(0, 0);
  int changes = 0;
  m_system.onChown = [&] { return changes++ == 0 ? 0 : fail(); };
  EXPECT_EQ(setOwnerIds(7, 8), noChown);
  EXPECT_EQ(setOwnerIds(7, 8), noChown);
  EXPECT_EQ(m_system.calls, (Texts{"stat", "chown 7 8"}));
}

TEST_F(Ownership, OfARealFileIsChanged) {
  const std::string file = m_root.file("device");
  EXPECT_EQ(m_provider.setOwnerIds(file, getuid(), getgid()), 18);
  writeFile(file, "x");
  EXPECT_EQ(m_provider.setOwnerIds(file, getuid(), getgid()), 0);
}

}  // namespace
}  // namespace orca_tests
