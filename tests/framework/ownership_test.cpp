#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "framework/test_provider.h"

namespace {

// What stands in for the system while it is set: each call is recorded and answered.
struct System {
  // Records a call; the one of the given number, counted from 1, fails.
  int answer(const std::string& call) {
    calls.push_back(call);
    if (calls.size() != failing) return 0;
    errno = EPERM;
    return -1;
  }
  std::size_t failing = 0;
  uid_t owner = 7;
  gid_t group = 8;
  std::vector<std::string> calls{};
};
System* g_system = nullptr;

}  // namespace

// Only the operation under test changes owners and sleeps.
extern "C" {

int stat(const char* path, struct stat* status) noexcept {
  if (g_system == nullptr) return fstatat(AT_FDCWD, path, status, 0);
  status->st_uid = g_system->owner;
  status->st_gid = g_system->group;
  return g_system->answer("stat");
}

int chown(const char*, uid_t owner, gid_t group) noexcept {
  return g_system->answer("chown " + std::to_string(owner) + " " + std::to_string(group));
}

unsigned sleep(unsigned seconds) {
  g_system->calls.push_back("sleep " + std::to_string(seconds));
  return seconds > 10 ? 10 : 0;
}

}  // extern "C"

namespace orca_tests {
namespace {

class Ownership : public PluginTest {
 protected:
  // The operation on "/dev/x" with the system replaced: its result and last line.
  std::string setOwnerIds(System system, long owner, long group, const char* resource = "/dev/x") {
    g_system = &system;
    const int result = m_provider.setOwnerIds(resource, owner, group);
    g_system = nullptr;
    m_calls = system.calls;
    m_lines = m_recorder.takeBody();
    return std::to_string(result) + " " + m_lines.back();
  }

  static constexpr const char* kDone = "0 3 INFO: setOwnerIds done";
  Texts m_calls, m_lines;
};

TEST_F(Ownership, ChangesTheOwnerTwiceWithoutAWaitWhenItShowsAtOnce) {
  EXPECT_EQ(setOwnerIds({}, 7, 8), kDone);
  EXPECT_EQ(m_calls, (Texts{"stat", "chown 7 8", "chown 7 8", "stat"}));
  EXPECT_THAT(m_lines, testing::Contains("3 setOwnerIds: Got matching gid, pid."));
}

TEST_F(Ownership, SucceedsAfterTenWaitsWhenItNeverShows) {
  const std::tuple<uid_t, gid_t, long, long> cases[] = {
      {~0U, ~0U, -1, -1}, {7, 9, 7, 8}, {6, 8, 7, 8}};
  for (const auto& [owner, group, wantedOwner, wantedGroup] : cases) {
    EXPECT_EQ(setOwnerIds({.owner = owner, .group = group}, wantedOwner, wantedGroup), kDone);
    ASSERT_EQ(m_calls.size(), 42U);
    EXPECT_EQ(Texts(m_calls.end() - 3, m_calls.end()), (Texts{"stat", "sleep 30", "sleep 10"}))
        << "a signal ended the first wait";
  }
}

TEST_F(Ownership, EndsAtTheStepThatFails) {
  const std::string noChown =
      "1091 1 Error: set_owner_ids - chown: Unable to chown resource /dev/x, errno=[1].";
  const std::pair<std::size_t, std::string> cases[] = {
      {1, "18 1 Error: setOwnerIds: Unable to stat partition /dev/x errno=[1]"},
      {2, noChown},
      {3, noChown},
      {4, "18 1 Error: set_owner_ids - stat: Unable to stat resource /dev/x, errno=[1]."}};
  for (const auto& [step, text] : cases) {
    EXPECT_EQ(setOwnerIds({.failing = step}, 7, 8), text) << "call " << step;
    EXPECT_EQ(m_calls.size(), step);
  }
  EXPECT_EQ(setOwnerIds({}, 7, 8, ""), "3 1 Error: setOwnerIds - invalid resource specified");
}

}  // namespace
}  // namespace orca_tests
