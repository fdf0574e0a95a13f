#include <functional>
#include <set>
#include <sstream>

#include "check/bench.h"
#include "check/imports.h"
#include "check/originals.h"
#include "check/source.h"
#include "framework/operations.h"

namespace fihost::check {

namespace {

using Microseconds = std::chrono::microseconds;

// What is known of a node and its snapshots from a session that nobody disturbed.
struct Calm {
  std::string node;
  std::string snapshot;          // a name that the provider gives; of no snapshot any more
  std::string content;           // of that snapshot; empty where it cannot be read
  std::string sourceContent;     // the same of the node
  std::set<std::string> around;  // what lies beside the node
  std::map<Op, double> milliseconds;
};

std::string contentOrNone(const Bench& bench, const std::string& name) {
  try {
    return bench.content(name);
  } catch (const Skipped&) {
    return "";
  }
}

// Takes a snapshot and disposes of it, in a process of its own.
Calm calmSession(const Bench& bench) {
  Calm calm;
  calm.node = bench.node();
  calm.sourceContent = contentOrNone(bench, calm.node);
  calm.around = surroundingsOf({calm.node});
  const std::string told = bench.apart([&] {
    Life life(bench, {calm.node});
    const Taken taken = life.snapshot();
    const std::string content = contentOrNone(bench, taken.name);
    life.must(life.dispose(taken));
    return std::to_string(life.milliseconds(Op::Make)) + " " +
           std::to_string(life.milliseconds(Op::Dispose)) + " " +
           (content.empty() ? "-" : content) + " " + taken.name;
  });
  std::istringstream in(told);
  in >> calm.milliseconds[Op::Make] >> calm.milliseconds[Op::Dispose] >> calm.content;
  if (calm.content == "-") calm.content.clear();
  in.get();
  calm.snapshot = told.substr(static_cast<std::size_t>(in.tellg()));
  return calm;
}

// Moments spread over the time that an operation takes, one in each part of it.
std::vector<Microseconds> moments(Bench& bench, double milliseconds) {
  std::vector<Microseconds> all;
  const int kills = bench.options().kills;
  const double part = milliseconds * 1000 / kills;
  all.reserve(static_cast<std::size_t>(kills));
  std::uniform_real_distribution<double> within(0, part);
  for (int i = 0; i < kills; ++i) {
    all.emplace_back(static_cast<long>(part * i + within(bench.random())));
  }
  return all;
}

// Kills the work at each moment of an operation, and looks each time in a new process at what it
// left.
void killed(Bench& bench, Op op, double milliseconds, const std::function<void()>& work,
            const std::function<void()>& look) {
  const std::chrono::seconds limit(bench.options().timeout);
  for (const Microseconds moment : moments(bench, milliseconds)) {
    Apart victim([&] {
      work();
      return "";
    });
    victim.killDuring(describe(op).name, moment, limit);
    try {
      bench.apart([&] {
        look();
        return "";
      });
    } catch (const Broken& broken) {
      throw Broken{"killed after " + std::to_string(moment.count()) + " us of " +
                   describe(op).name + ": " + broken.what};
    }
  }
}

// A snapshot that says that it is there must be whole.
void disposeOf(const Bench& bench, Life& life, const Calm& calm, const std::string& name) {
  const Taken taken{calm.node, name};
  const long status = life.status(taken);
  if (status == orca_pdk::FI_SNAPSHOT_READY && !calm.content.empty()) {
    require(bench.content(name) == calm.content, name + " is ready, and its content is another");
  }
  if (status == orca_pdk::FI_SNAPSHOT_READY || name == calm.snapshot)
    life.must(life.dispose(taken));
}

// The provider must be able to go on, and what is left must go away by its verbs.
void recovers(const Bench& bench, const Calm& calm) {
  {
    Life life(bench, {calm.node});
    life.begin();
    life.configure();
    std::set<std::string> names{calm.snapshot};
    const std::set<std::string> now = surroundingsOf({calm.node});
    for (const std::string& path : now) {
      if (calm.around.count(path) == 0) names.insert(path);
    }
    for (const std::string& name : names) disposeOf(bench, life, calm, name);
    std::vector<std::string> made;
    life.must(life.take(made), "the next make: ");
    const Taken taken{calm.node, made.empty() ? "" : made.front()};
    require(life.status(taken) == orca_pdk::FI_SNAPSHOT_READY, "the next snapshot is not ready");
    life.must(life.dispose(taken));
    require(life.status(taken) == orca_pdk::FI_SNAPSHOT_ABSENT,
            "the next snapshot is not absent after dispose");
  }
  require(contentOrNone(bench, calm.node) == calm.sourceContent,
          "the content of " + calm.node + " has changed");
  const auto left = newIn(surroundingsOf({calm.node}), calm.around);
  require(left.empty(), left.empty() ? "" : "what no operation removes: " + left.front());
}

void survivesMake(Bench& bench) {
  const Calm calm = calmSession(bench);
  const auto take = [&] {
    Life life(bench, {calm.node});
    life.snapshot();
    life.forget();  // only make is to be killed
  };
  killed(bench, Op::Make, calm.milliseconds.at(Op::Make), take, [&] { recovers(bench, calm); });
}

void survivesDispose(Bench& bench) {
  const Calm calm = calmSession(bench);
  const auto dispose = [&] {
    Life life(bench, {calm.node});
    life.dispose(life.snapshot());
  };
  killed(bench, Op::Dispose, calm.milliseconds.at(Op::Dispose), dispose,
         [&] { recovers(bench, calm); });
}

void survivesRestore(Bench& bench) {
  Source source(bench);
  const auto restore = [&]() -> double {
    Life life(bench, {source.node()});
    const Taken taken = life.snapshot();
    source.overwrite();
    life.must(life.restore(taken));
    life.forget();
    return life.milliseconds(Op::Restore);
  };
  const Calm calm = calmSession(bench);
  const double milliseconds = std::stod(bench.apart([&] { return std::to_string(restore()); }));
  source.putBack();
  source.overwrite();  // to know that content, too
  source.putBack();
  const auto look = [&] {
    const bool isWhole = source.isAsBefore() || source.isOverwritten();
    source.putBack();
    require(isWhole, "the node has neither the old nor the new content");
    Calm now = calm;
    now.sourceContent = contentOrNone(bench, calm.node);
    recovers(bench, now);
  };
  killed(
      bench, Op::Restore, milliseconds, [&] { restore(); }, look);
}

// The resource can be imported and deported as if nothing had been.
void goesOn(const Bench& bench) {
  Life life(bench, {});
  Imports imports(bench, life);
  life.must(imports.import(), "the next import: ");
  life.must(imports.deport(), "the next deport: ");
}

void survivesOn(Bench& bench, Op op) {
  const auto work = [&] {  // what is to be killed comes last
    Life life(bench, {});
    Imports imports(bench, life);
    life.must(imports.import());
    if (op == Op::DeportResource) life.must(imports.deport());
    return std::to_string(life.milliseconds(op));
  };
  const double milliseconds = std::stod(bench.apart(work));
  bench.apart([&] {
    goesOn(bench);
    return "";
  });
  const std::set<std::string> numbers = lunNumbers();
  const auto look = [&] {
    goesOn(bench);
    for (const std::string& number : lunNumbers()) {
      require(numbers.count(number) != 0, number + " was not given back");
    }
  };
  killed(bench, op, milliseconds, work, look);
}

void survivesImport(Bench& bench) { survivesOn(bench, Op::ImportResource); }
void survivesDeport(Bench& bench) { survivesOn(bench, Op::DeportResource); }

constexpr Requirement kKillsRequirements[] = {
    {"kills.make",
     "Killed at any moment of make, a provider leaves the source whole and a snapshot whole or "
     "none, goes on, and nothing stays that no operation removes.",
     "Power fails, and a framework is ended, without asking.", survivesMake},
    {"kills.dispose", "The same of dispose.", "Half a snapshot must not count as one.",
     survivesDispose},
    {"kills.restore", "The same of restore; the node has the old or the new content.",
     "It may be the last copy there is.", survivesRestore},
    {"kills.import",
     "Killed at any moment of importResource, a provider can import and deport again, and the LUN "
     "number comes back.",
     "A device that is half visible blocks the next job.", survivesImport},
    {"kills.deport", "The same of deportResource.",
     "A device that is half visible blocks the next job.", survivesDeport},
};

}  // namespace

Requirements killsRequirements() { return kKillsRequirements; }

}  // namespace fihost::check
