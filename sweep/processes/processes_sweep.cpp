// Eight processes at once.

#include <sys/wait.h>

#include <set>
#include <thread>

#include "examples/arraysnap_fixture.h"
#include "support/host_work.h"
#include "support/points.h"

namespace orca_tests {
namespace {

constexpr int kProcesses = 8;

// Runs an action so many times at once, and answers with what each ended.
std::vector<CommandResult> atOnce(const std::function<CommandResult(int)>& action) {
  std::vector<CommandResult> results(kProcesses);
  std::vector<std::thread> threads;
  for (int i = 0; i < kProcesses; ++i) {
    threads.emplace_back([&results, &action, i] { results[static_cast<size_t>(i)] = action(i); });
  }
  for (std::thread& thread : threads) thread.join();
  return results;
}

TEST_F(HostWork, LosesNothingWhenEightTakeSnapshots) {
  std::size_t known = 1;
  begin();
  for (const std::size_t round : sweepPoints("eight hosts", 40)) {
    SCOPED_TRACE("round " + std::to_string(round));
    const bool isOneFile = round % 2 == 0;
    for (const CommandResult& each : atOnce([&](int i) {
           const std::string file = isOneFile ? m_file : m_file + std::to_string(i);
           if (!isOneFile) writeFile(file, m_content);
           return run({"snapshot", "--plugin", FILESNAP_PLUGIN, file, "--set", "keep=64"});
         })) {
      EXPECT_EQ(each.status, 0) << each.err;
    }
    const std::vector<std::string> names = listed();
    known += kProcesses;
    EXPECT_EQ(names.size(), known);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), known) << "twice";
    // Few enough that the limit of a file is never reached.
    for (const std::string& name : names) EXPECT_EQ(run({"dispose", name}).status, 0);
    known = 0;
    EXPECT_THAT(listed(), testing::IsEmpty());
    if (HasFailure()) return;
  }
}

using ArrayProcesses = ArraySnapTest;

TEST_F(ArrayProcesses, GivesEachDeviceANumberOfItsOwn) {
  m_array.make(kProcesses, "4K");
  for (const std::size_t round : sweepPoints("eight imports", 40)) {
    SCOPED_TRACE("round " + std::to_string(round));
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i) {
      children.push_back(fork());
      if (children.back() == 0) _exit(import("D" + std::to_string(i)).empty() ? 1 : 0);
    }
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
    std::set<std::string> numbers;
    for (int i = 0; i < kProcesses; ++i) {
      const std::string device = "D" + std::to_string(i), number = lun(device);
      numbers.insert(number);
      EXPECT_THAT(m_array.ok("list E1 " + device), testing::HasSubstr("hosta:" + number + "\n"));
    }
    EXPECT_EQ(numbers.size(), static_cast<std::size_t>(kProcesses));
    for (int i = 0; i < kProcesses; ++i) EXPECT_EQ(deport("D" + std::to_string(i)), 0);
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace orca_tests
