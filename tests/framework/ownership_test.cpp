#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "framework/test_provider.h"

namespace {

// What stands in for the system while it is set: each call is recorded and answered.
struct System {
  // Records the call; fails from the given number of successes on.
  int answer(const std::string& call, int& successes) {
    calls.push_back(call);
    if (successes-- > 0) return 0;
    errno = EPERM;
    return -1;
  }
  std::vector<std::string> calls{};
  int stats = 100, chowns = 100;
  uid_t owner = 7;
  gid_t group = 8;
};
System* g_system = nullptr;

}  // namespace

// Only the operation under test changes owners and sleeps.
extern "C" {

int stat(const char* path, struct stat* status) noexcept {
  if (g_system == nullptr) return fstatat(AT_FDCWD, path, status, 0);
  status->st_uid = g_system->owner;
  status->st_gid = g_system->group;
  return g_system->answer("stat", g_system->stats);
}

int chown(const char*, uid_t owner, gid_t group) noexcept {
  return g_system->answer("chown " + std::to_string(owner) + " " + std::to_string(group),
                          g_system->chowns);
}

unsigned sleep(unsigned seconds) {
  g_system->calls.push_back("sleep " + std::to_string(seconds));
  return seconds > 10 ? 10 : 0;
}

}  // extern "C"

namespace orca_tests {
namespace {

class Ownership : public ProviderTest {
 protected:
  // The operation on "/dev/x" with the system replaced: its result and last line.
  std::string setOwnerIds(System system, long owner, long group, const char* resource = "/dev/x") {
    g_system = &system;
    const int result = m_provider.setOwnerIds(resource, owner, group);
    g_system = nullptr;
    m_body = m_recorder.takeBody();
    m_calls = system.calls;
    return std::to_string(result) + " " + m_body.back();
  }

  Texts m_calls, m_body;
};

TEST_F(Ownership, ChangesTheOwnerTwiceWithoutAWaitWhenItShowsAtOnce) {
  EXPECT_EQ(setOwnerIds({}, 7, 8), "0 3 INFO: setOwnerIds done");
  EXPECT_EQ(m_calls, (Texts{"stat", "chown 7 8", "chown 7 8", "stat"}));
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
    const System system{{}, 100, 100, owner, group};
    EXPECT_EQ(setOwnerIds(system, wantedOwner, wantedGroup), "0 3 INFO: setOwnerIds done");
    ASSERT_EQ(m_calls.size(), 42U);
    EXPECT_EQ(m_calls[39], "stat");
    EXPECT_EQ(m_calls[40] + m_calls[41], "sleep 30sleep 10") << "a signal ended the first wait";
    ASSERT_EQ(m_body.size(), 33U);
    EXPECT_TRUE(m_body[29].starts_with("3 INFO: setOwnerIds chown retry count [9] with "));
    EXPECT_EQ(m_body[31], "3 setOwnerIds: Waiting for system to read. Partition table.");
  }
}

TEST_F(Ownership, SaysWhichStepFailed) {
  const std::string noChown =
      "1091 1 Error: set_owner_ids - chown: Unable to chown resource /dev/x, errno=[1].";
  EXPECT_EQ(setOwnerIds({}, 7, 8, ""), "3 1 Error: setOwnerIds - invalid resource specified");
  EXPECT_EQ(m_calls, Texts());
  EXPECT_EQ(setOwnerIds({.stats = 0}, 7, 8),
            "18 1 Error: setOwnerIds: Unable to stat partition /dev/x errno=[1]");
  EXPECT_EQ(setOwnerIds({.stats = 1}, 7, 8),
            "18 1 Error: set_owner_ids - stat: Unable to stat resource /dev/x, errno=[1].");
  EXPECT_EQ(setOwnerIds({.chowns = 0}, 7, 8), noChown);
  EXPECT_EQ(m_calls, (Texts{"stat", "chown 7 8"}));
  EXPECT_EQ(setOwnerIds({.chowns = 1}, 7, 8), noChown);
}

}  // namespace
}  // namespace orca_tests
