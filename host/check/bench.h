#ifndef FIHOST_CHECK_BENCH_H
#define FIHOST_CHECK_BENCH_H

#include <cficonfig.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "check/apart.h"
#include "check/requirement.h"
#include "framework/currentoperation.h"
#include "framework/findings.h"
#include "framework/lifecycle.h"
#include "framework/parameters.h"

namespace fihost::check {

// What the user wants to be checked, and how.
struct Options {
  std::string plugin;
  std::vector<std::string> nodes;           // originals, which stay as they are
  orca_pdk::CFiConfigParamDataList values;  // sent to each node before snapshots are taken
  std::uint64_t seed = 0;
  bool isDestructive = false;  // whether nodes may be restored
  int kills = 0;               // moments at which each operation is killed
  std::string content;         // command that prints the content of the node or snapshot $1
  int timeout = 0;             // seconds for each requirement
};

// A snapshot that was handed out.
struct Taken {
  std::string node;
  std::string name;
};

// What the test of a requirement works with: what the user said, and a folder of its own, which is
// the working folder and holds the install root, and is removed after it.
class Bench {
 public:
  Bench(const Options& options, std::filesystem::path folder, std::uint64_t seed)
      : m_options(options), m_folder(std::move(folder)), m_random(seed) {}

  const Options& options() const { return m_options; }
  const std::filesystem::path& folder() const { return m_folder; }
  // The nodes of the user; throws Skipped where there are fewer.
  std::vector<std::string> nodes(std::size_t least = 1) const;
  std::string node() const { return nodes().front(); }
  std::mt19937_64& random() { return m_random; }

  // Work in a further process, see workApart.
  std::string apart(const std::function<std::string()>& work) const;
  // A digest of the content of a node or a snapshot, by the user's command or that of the file of
  // that name; throws Skipped where neither is there, Broken when it cannot be read.
  std::string content(const std::string& name) const;
  // The name of a node that is not there.
  std::string absentNode() const { return node() + ".fihost-check-absent"; }
  // The languages of the provider's catalog; throws Broken where it has none.
  std::vector<std::string> languages(const std::string& provider) const;

  // Keeps the list of snapshots that are there, in a file that outlives a crash.
  void noteTaken(const Taken& taken) const;
  void noteDisposed(const Taken& taken) const;
  static std::vector<Taken> takenIn(const std::filesystem::path& folder);

 private:
  const Options& m_options;
  std::filesystem::path m_folder;
  std::mt19937_64 m_random;
};

// The plug-in at work with some nodes: loaded at the beginning, ended and unloaded at the end. Of
// each failure it keeps the provider's message. What it took is disposed of at the end.
class Life : public CallObserver {
 public:
  Life(const Bench& bench, std::vector<std::string> nodes);
  explicit Life(const Bench& bench) : Life(bench, bench.nodes()) {}
  ~Life() override;

  Caller& caller() { return m_caller; }
  NodeSet& nodes() { return m_lifecycle.nodes(); }
  Node& node() { return nodes()[0]; }
  Plugin& plugin() { return m_plugin; }
  const std::string& session() const { return m_session; }
  const MemoryWatch& memory() const { return m_memory; }

  // Throws for a last call that was not good: Skipped where it is not supported, else Broken.
  // `what` stands before the reason.
  void must(bool good, const std::string& what = std::string());
  // The same, but skips with a reason of its own, whatever kept it from being good.
  void orSkip(bool good, const std::string& why);
  // Why the last call was not good, in one line.
  const std::string& failure() const { return m_failure; }
  // The message of the last failure as it travels, and in the native language.
  const std::string& message() const { return m_failureMessage; }
  const std::string& sentence() const { return m_failureSentence; }

  // How long the last call of an operation took; 0 where there was none.
  double milliseconds(Op op) const;
  // Whether any call raised an exception, and which.
  const std::string& raised() const { return m_raised; }

  // Initialises the provider.
  void init() { must(m_lifecycle.init()); }
  // The same, claims the nodes and sets them up.
  void begin();
  // Sends the user's values to each node.
  void configure();
  // From quiesce to unquiesce; true when snapshots were taken. They are disposed of at the end,
  // unless they are forgotten before.
  bool take(std::vector<std::string>& names);
  // begin, configure, take.
  std::vector<Taken> snapshots();
  Taken snapshot() { return snapshots().front(); }
  void forget() { m_taken.clear(); }

  // Works on a snapshot of an earlier life, too. `status` throws when there is none.
  bool dispose(const Taken& taken);
  long status(const Taken& taken);
  // True when the provider restored it and said so.
  bool restore(const Taken& taken);

  void begins(const Call& call) override;
  void ended(const Call& call) override;
  void failed(const Failure& failure) override;

 private:
  bool prepareAndMake(std::vector<std::string>& names);

  const Bench& m_bench;
  std::vector<std::string> m_names;
  std::string m_session = "fihost-check";
  Plugin m_plugin;
  Caller m_caller;
  OperationWatch m_watch;
  MemoryWatch m_memory;
  std::vector<Taken> m_taken;
  std::string m_message;  // of the last getLastError
  std::string m_failure;
  std::string m_failureMessage;
  std::string m_failureSentence;
  std::string m_raised;
  std::map<Op, double> m_milliseconds;
  Lifecycle m_lifecycle;  // ends before what sees its calls
};

}  // namespace fihost::check

#endif
