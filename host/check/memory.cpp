#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "check/bench.h"
#include "framework/operations.h"

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr int kNodeLives = 1000;
constexpr int kSnapshots = 100;
constexpr int kFewSnapshots = 3;
constexpr long kMostGrowth = 512L * 1024;
constexpr bool kIsMemoryKept = FIHOST_SANITIZED;  // what is freed stays resident for a while

void liveNodes(const Bench& bench, Life& life, int times) {
  for (int i = 0; i < times; ++i) {
    Node node(bench.node());
    std::string document;
    const bool good = ops::initNode(life.caller(), node) &&
                      ops::configGetParam(life.caller(), node, life.session(), document);
    const std::string failure = life.failure();
    ops::deInitNode(life.caller(), node);
    require(good, "node life " + std::to_string(i + 1) + ": " + failure);
  }
}

// Takes snapshots and disposes of each as far as the time goes; how many. None where the provider
// takes no snapshots.
int liveSnapshots(const Bench& bench, Life& life, int times) {
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::milliseconds(bench.options().timeout * 1000 / 8);
  for (int i = 0; i < times; ++i) {
    if (i > 0 && std::chrono::steady_clock::now() > end) return i;
    std::vector<std::string> names;
    life.must(life.take(names), "snapshot " + std::to_string(i + 1) + ": ");
    require(!names.empty(), "make handed out nothing");
    life.must(life.dispose({bench.node(), names.front()}));
  }
  return times;
}

void fewSnapshots(const Bench& bench, Life& life) {
  try {
    liveSnapshots(bench, life, kFewSnapshots);
  } catch (const Skipped&) {
    return;  // node lives alone
  }
}

// A provider at work on the node, whose memory is looked at from here on.
void begin(Life& life) {
  life.begin();
  life.configure();
}

void requireNoNew(const Life& life, const std::vector<std::string>& before) {
  const std::vector<std::string> after = life.memory().findings();
  if (after.size() <= before.size()) return;
  throw Broken{std::to_string(after.size() - before.size()) +
               " findings, the last one: " + after.back()};
}

void nodesGiveBack(Bench& bench) {
  Life life(bench, {bench.node()});
  begin(life);
  const std::vector<std::string> before = life.memory().findings();
  liveNodes(bench, life, kNodeLives);
  requireNoNew(life, before);
}

void snapshotsGiveBack(Bench& bench) {
  Life life(bench, {bench.node()});
  begin(life);
  const std::vector<std::string> before = life.memory().findings();
  liveSnapshots(bench, life, kSnapshots);
  requireNoNew(life, before);
}

long residentBytes() {
  std::ifstream in("/proc/self/statm");
  long pages = 0;
  in >> pages >> pages;
  return pages * sysconf(_SC_PAGESIZE);
}

void staysSmall(Bench& bench) {
  if (kIsMemoryKept) throw Skipped{"this host is built with a sanitizer, which keeps memory"};
  Life life(bench, {bench.node()});
  begin(life);
  liveNodes(bench, life, kNodeLives / 4);
  fewSnapshots(bench, life);
  const long before = residentBytes();
  liveNodes(bench, life, kNodeLives);
  fewSnapshots(bench, life);
  const long grown = residentBytes() - before;
  require(grown < kMostGrowth, "resident memory grew by " + std::to_string(grown) + " bytes in " +
                                   std::to_string(kNodeLives) + " node lives");
}

long countIn(const char* folder) { return std::distance(fs::directory_iterator(folder), {}); }

void staysFlat(Bench& bench, const char* folder, const std::string& what) {
  Life life(bench, {bench.node()});
  begin(life);
  liveNodes(bench, life, 1);
  fewSnapshots(bench, life);
  const long before = countIn(folder);
  liveNodes(bench, life, kNodeLives / 20);
  fewSnapshots(bench, life);
  const long after = countIn(folder);
  require(before == after,
          std::to_string(before) + " " + what + " became " + std::to_string(after));
}

void keepsDescriptors(Bench& bench) { staysFlat(bench, "/proc/self/fd", "descriptors"); }
void keepsThreads(Bench& bench) { staysFlat(bench, "/proc/self/task", "threads"); }

void leavesNoZombie(Bench& bench) {
  Life life(bench, {bench.node()});
  begin(life);
  liveNodes(bench, life, 1);
  fewSnapshots(bench, life);
  siginfo_t child{};
  const int found = waitid(P_ALL, 0, &child, WEXITED | WNOWAIT | WNOHANG);
  require(found != 0 || child.si_pid == 0, "a process that the provider started was never reaped");
}

constexpr Requirement kMemoryRequirements[] = {
    {"memory.nodes", "1,000 node lives give back all buffers and ids, with their sizes.",
     "A framework runs for months.", nodesGiveBack},
    {"memory.snapshots", "So do 100 snapshots, or as many as an eighth of the time-out allows.",
     "A framework runs for months.", snapshotsGiveBack},
    {"memory.resident", "Resident memory does not grow with node lives and snapshots.",
     "A framework runs for months.", staysSmall},
    {"memory.descriptors", "The number of descriptors does not grow.",
     "A process has 1,024 of them.", keepsDescriptors},
    {"memory.threads", "The number of threads does not grow.",
     "Each takes memory, and time when the process ends.", keepsThreads},
    {"memory.zombies", "Every process that the provider started is reaped.",
     "The table of processes fills up.", leavesNoZombie},
};

}  // namespace

Requirements memoryRequirements() { return kMemoryRequirements; }

}  // namespace fihost::check
