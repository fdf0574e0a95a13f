#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/host_work.h"
#include "support/points.h"

namespace orca_tests {
namespace {

TEST_F(HostWork, KnowsEverySnapshotOfBeforeWhereverItIsKilled) {
  TracedSweep{"fihost snapshot", traced(m_taking), [this] { begin(); },
              [this](const TracedEnd&) { expectOrder(); }, 50}
      .killEverywhere();
}

TEST_F(HostWork, ListsASnapshotThatIsThereWhereverADisposeIsKilled) {
  TracedSweep{"fihost dispose", traced({"dispose", m_first}), [this] { begin(); },
              [this](const TracedEnd&) {
                if (std::filesystem::exists(m_first)) {
                  EXPECT_THAT(listed(), testing::Contains(m_first));
                }
                const CommandResult again = run({"dispose", m_first});
                EXPECT_EQ(again.status, listed().empty() ? again.status : 0) << again.err;
                EXPECT_THAT(listed(), testing::IsEmpty());
                EXPECT_EQ(take().status, 0);
              },
              50}
      .killEverywhere();
}

TEST_F(HostWork, KnowsTheSnapshotsOfBeforeWhenKilledAtSomeMoment) {
  begin();
  std::srand(sweepSeed());
  for (const std::size_t moment : sweepPoints("kills at a moment", 200)) {
    const int delay = 2000 + std::rand() % 60000;
    SCOPED_TRACE("kill " + std::to_string(moment) + " after " + std::to_string(delay) + " us");
    const std::vector<std::string> command = words(m_taking);
    const pid_t pid = fork();
    if (pid == 0) {
      std::vector<char*> argv;
      for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
      argv.push_back(nullptr);
      const int nowhere = open("/dev/null", O_WRONLY);
      dup2(nowhere, STDOUT_FILENO);
      dup2(nowhere, STDERR_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    usleep(static_cast<useconds_t>(delay));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    EXPECT_EQ(readFile(m_file), m_content);
    // filesnap keeps eight of them, and the host forgets those that went.
    if (std::filesystem::exists(m_first)) {
      EXPECT_THAT(listed(), testing::Contains(m_first));
    }
    EXPECT_THAT(run({"status"}).status, testing::AnyOf(0, 1)) << "1: one went";
    if (HasFailure()) return;
  }
  // A session takes eight of those that went off the list.
  CommandResult last;
  for (int session = 0; session < 5; ++session) {
    EXPECT_EQ(take().status, 0);
    last = run({"status"});
    if (last.status == 0) break;
  }
  EXPECT_EQ(last.status, 0) << last.out << last.err;
}

}  // namespace
}  // namespace orca_tests
