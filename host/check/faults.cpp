#include <fiutil_faults.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>

#include "check/bench.h"
#include "framework/operations.h"

namespace fihost::check {

namespace {

constexpr std::size_t kMostFaults = 40;

// Lets faults happen in operations of the provider alone, not in the host around them.
class InOperations : public CallObserver {
 public:
  InOperations(int kind, std::uint64_t number) { orca_fault_set(kind, number); }
  ~InOperations() override { orca_fault_enable(0); }
  InOperations(const InOperations&) = delete;
  InOperations& operator=(const InOperations&) = delete;

  void begins(const Call&) override { orca_fault_enable(1); }
  void ended(const Call& call) override {
    orca_fault_enable(0);
    if (!call.refused.empty()) m_refused = call.operation->name + (": " + call.refused);
  }
  // What an operation claimed that cannot be so; empty when none did.
  const std::string& refused() const { return m_refused; }

 private:
  std::string m_refused;
};

// Takes the provider through the life of a snapshot while one call of that kind fails, 0: none.
// Whatever the operations answer is right, but they must not raise, and not claim what is not so.
// Returns how many calls of that kind there were.
std::uint64_t live(const Bench& bench, int kind, std::uint64_t number) {
  InOperations faults(kind, number);  // observes until the end of the life
  Life life(bench, {bench.node()});
  life.caller().observe(faults);
  std::vector<std::string> names;
  bool isTaken = false;
  try {
    life.begin();
    life.configure();
    isTaken = life.take(names);
    if (isTaken && !names.empty() && !names.front().empty()) {
      const Taken taken{bench.node(), names.front()};
      life.status(taken);
      std::string state;
      ops::getProviderState(life.caller(), life.node(), state);
      life.dispose(taken);
    }
  } catch (const Broken&) {
    // A result that is not good: what is wanted.
  } catch (const Skipped&) {
    // So is one that says that it is not supported.
  }
  const std::uint64_t calls = orca_fault_calls(kind);
  orca_fault_set(kind, 0);
  require(life.raised().empty(), life.raised());
  require(faults.refused().empty(), faults.refused());
  const bool isNamed = !names.empty() && !names.front().empty();
  require(!isTaken || isNamed, "make succeeded, and handed out no named id");
  return calls;
}

// The numbers from 1 to `count`, or as many of them as are tried, chosen by the seed.
std::vector<std::uint64_t> chosen(Bench& bench, std::uint64_t count) {
  std::vector<std::uint64_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), std::uint64_t{1});
  std::shuffle(numbers.begin(), numbers.end(), bench.random());
  numbers.resize(std::min<std::size_t>(numbers.size(), kMostFaults));
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

void survives(Bench& bench, int kind, const std::string& what) {
  const std::uint64_t count =
      std::stoull(bench.apart([&] { return std::to_string(live(bench, kind, 0)); }));
  if (count == 0) throw Skipped{"the provider makes no " + what};
  for (const std::uint64_t number : chosen(bench, count)) {
    try {
      bench.apart([&] { return std::to_string(live(bench, kind, number)); });
    } catch (const Broken& broken) {
      throw Broken{what + " number " + std::to_string(number) + " of " + std::to_string(count) +
                   " failed: " + broken.what};
    }
  }
}

void survivesWithoutBuffers(Bench& bench) {
  survives(bench, ORCA_FAULT_BUFFER, "call of orca_alloc_buf");
}

void survivesWithoutIds(Bench& bench) {
  survives(bench, ORCA_FAULT_OBJID, "call of orca_get_objid");
}

void survivesWithoutCommands(Bench& bench) {
  setenv("ORCA_CHILD_CONTEXT", "1", 1);
  survives(bench, ORCA_FAULT_COMMAND, "command in child context");
}

void survivesDelays(Bench& bench) {
  setenv("ORCA_CHILD_CONTEXT", "1", 1);
  survives(bench, ORCA_FAULT_DELAY, "command in child context, delayed,");
}

constexpr Requirement kFaultsRequirements[] = {
    {"faults.buffers", "Each buffer that cannot be had leads to a result, and to no exception.",
     "Memory is short when it hurts most; a crash takes the framework along.",
     survivesWithoutBuffers},
    {"faults.ids", "So does each object id, and no snapshot is reported without a name.",
     "A snapshot that nobody can name stays for ever.", survivesWithoutIds},
    {"faults.commands", "So does each command that is refused in child context.",
     "There the framework runs the commands, and may be unable to.", survivesWithoutCommands},
    {"faults.delays", "So does each command that is started a second late.",
     "The framework may have others to run first.", survivesDelays},
};

}  // namespace

Requirements faultsRequirements() { return kFaultsRequirements; }

}  // namespace fihost::check
