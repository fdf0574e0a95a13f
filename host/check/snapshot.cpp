#include <algorithm>
#include <fstream>
#include <set>

#include "check/bench.h"
#include "check/originals.h"
#include "check/source.h"
#include "framework/operations.h"

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

std::string quoted(long status) { return "\"" + statusName(Op::GetStatus, status) + "\""; }

// Takes a snapshot in a process of its own, which leaves it there; its name.
Taken takenElsewhere(const Bench& bench) {
  const std::string name = bench.apart([&] {
    Life life(bench, {bench.node()});
    const Taken taken = life.snapshot();
    life.forget();
    return taken.name;
  });
  return {bench.node(), name};
}

std::vector<std::string> takenNames(Life& life) {
  std::vector<std::string> names;
  life.begin();
  life.configure();
  life.must(life.take(names));
  return names;
}

void handsOutAnIdForEach(Bench& bench) {
  Life life(bench);
  const std::size_t count = takenNames(life).size();
  const std::size_t wanted = life.nodes().size();
  require(count == wanted, "make handed out " + std::to_string(count) + " ids for " +
                               std::to_string(wanted) + " nodes");
}

void namesThem(Bench& bench) {
  Life life(bench);
  const std::vector<std::string> sources = bench.nodes();
  std::set<std::string> seen;
  for (const std::string& name : takenNames(life)) {
    require(!name.empty(), "an id has no name");
    require(std::find(sources.begin(), sources.end(), name) == sources.end(),
            "an id has the name of the source " + name);
    require(seen.insert(name).second, "two ids have the name " + name);
  }
}

void isReady(Bench& bench) {
  Life life(bench, {bench.node()});
  const long status = life.status(life.snapshot());
  require(status == orca_pdk::FI_SNAPSHOT_READY,
          "the status right after make is " + quoted(status));
}

void isReadyElsewhere(Bench& bench) {
  const Taken taken = takenElsewhere(bench);
  Life life(bench, {taken.node});
  life.begin();
  const long status = life.status(taken);
  life.must(life.dispose(taken));
  require(status == orca_pdk::FI_SNAPSHOT_READY,
          "the status in a new process is " + quoted(status));
}

void differs(Bench& bench) {
  Life life(bench, {bench.node()});
  const Taken first = life.snapshot();
  std::vector<std::string> names;
  life.orSkip(life.take(names), "the provider takes no second snapshot beside " + first.name);
  require(!names.empty() && names.front() != first.name,
          "the second snapshot is called " + first.name + ", too");
}

void leavesTheSource(Bench& bench) {
  const std::string node = bench.node();
  const std::string mark = markOf(node);
  if (mark.empty()) throw Skipped{node + " is no file"};
  const std::string content = bench.content(node);
  bench.apart([&] {
    Life life(bench, {node});
    life.snapshot();
    return "";
  });
  require(bench.content(node) == content, "the content of " + node + " has changed");
  require(markOf(node) == mark, "size, times, mode or owner of " + node + " have changed");
}

void hasTheContent(Bench& bench) {
  Life life(bench, {bench.node()});
  const Taken taken = life.snapshot();
  require(bench.content(taken.name) == bench.content(taken.node),
          "the content of " + taken.name + " is not that of " + taken.node);
}

void makesAllOrNone(Bench& bench) {
  const Taken earlier = takenElsewhere(bench);
  const std::set<std::string> around = surroundingsOf({earlier.node});
  Life life(bench, {});
  life.init();
  life.must(life.dispose(earlier));
  NodeSet nodes({earlier.node, bench.absentNode()});
  const std::string values = bench.options().values.getXML().c_str();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    std::string completed;
    life.orSkip(ops::initNode(life.caller(), nodes[i]) &&
                    ops::configSet(life.caller(), nodes[i], life.session(), values, completed),
                "a node that is not there is refused before make");
  }
  std::vector<std::string> names;
  const bool good = ops::prepare(life.caller(), nodes, life.session()) &&
                    ops::make(life.caller(), nodes, life.session(), names);
  for (std::size_t i = 0; i < nodes.size(); ++i) ops::deInitNode(life.caller(), nodes[i]);
  require(!good, "make succeeded with " + bench.absentNode() + ", which is not there");
  require(names.empty(),
          "make failed and handed out " + (names.empty() ? std::string() : names.front()));
  const auto left = newIn(surroundingsOf({earlier.node}), around);
  require(left.empty(), "make failed and left " + (left.empty() ? std::string() : left.front()));
  require(life.status(earlier) == orca_pdk::FI_SNAPSHOT_ABSENT,
          "make failed and left " + earlier.name);
}

void disposes(Bench& bench) {
  Life life(bench, {bench.node()});
  const Taken taken = life.snapshot();
  life.must(life.dispose(taken));
  const long status = life.status(taken);
  require(status == orca_pdk::FI_SNAPSHOT_ABSENT, "the status after dispose is " + quoted(status));
}

void disposesAgain(Bench& bench) {
  Life life(bench, {bench.node()});
  const Taken taken = life.snapshot();
  life.must(life.dispose(taken));
  life.must(life.dispose(taken));
}

void leavesTheForeign(Bench& bench) {
  const fs::path file = bench.folder() / "somebody's file";
  const fs::path folder = bench.folder() / "somebody's folder";
  fs::create_directory(folder);
  for (const fs::path& path : {file, folder / "data"}) std::ofstream(path) << "content";
  Life life(bench, {bench.node()});
  life.begin();
  for (const fs::path& path : {file, folder}) {
    life.dispose({bench.node(), path.string()});
    require(life.raised().empty(), life.raised());
    require(fs::exists(path), "dispose removed " + path.string() + ", which it had not made");
  }
  require(fs::file_size(file) == 7 && fs::file_size(folder / "data") == 7,
          "dispose changed what it had not made");
}

void restores(Bench& bench) {
  Source source(bench);
  Life life(bench, {source.node()});
  const Taken taken = life.snapshot();
  source.overwrite();
  const bool good = life.restore(taken);
  require(good, life.failure().empty() ? "restore gave no good status" : life.failure());
  require(source.isAsBefore(), "restore succeeded, and the content is not that of the snapshot");
}

// Restores from a snapshot that is none any more.
void refusesToRestore(Bench& bench, void (*spoil)(Life&, const Taken&)) {
  Source source(bench);
  Life life(bench, {source.node()});
  const Taken taken = life.snapshot();
  spoil(life, taken);
  const bool good = life.restore(taken);
  require(source.isAsBefore(), "the content of " + source.node() + " has changed");
  require(!good, "restore succeeded");
  require(life.sentence().find(taken.name) != std::string::npos,
          "the message does not name the snapshot: \"" + life.sentence() + "\"");
}

// Cuts the largest file of a snapshot.
void damage(Life&, const Taken& taken) {
  fs::path largest;
  std::uintmax_t size = 0;
  const auto look = [&](const fs::path& path) {
    if (!fs::is_regular_file(path) || fs::file_size(path) <= size) return;
    size = fs::file_size(path);
    largest = path;
  };
  std::error_code ignored;
  look(taken.name);
  for (const auto& entry : fs::recursive_directory_iterator(taken.name, ignored)) look(entry);
  if (largest.empty()) throw Skipped{taken.name + " is no file that could be damaged"};
  fs::permissions(largest, fs::perms::owner_write, fs::perm_options::add, ignored);
  fs::resize_file(largest, size / 2, ignored);
  if (ignored) throw Skipped{largest.string() + " cannot be written to: " + ignored.message()};
}

void refusesTheDamaged(Bench& bench) { refusesToRestore(bench, damage); }

void refusesTheAbsent(Bench& bench) {
  refusesToRestore(bench, [](Life& life, const Taken& taken) { life.must(life.dispose(taken)); });
}

constexpr Requirement kSnapshotRequirements[] = {
    {"snapshot.ids", "make hands out as many ids as there are nodes.",
     "The framework matches them by position.", handsOutAnIdForEach},
    {"snapshot.names", "Every id has a name, its own, and not that of a source.",
     "By its name a snapshot is restored and disposed of later.", namesThem},
    {"snapshot.ready", "A snapshot is ready when make is done.",
     "Writers go on at once: what is not there then is lost.", isReady},
    {"snapshot.elsewhere", "It is ready for a new process, too.",
     "The job that restores it is another one.", isReadyElsewhere},
    {"snapshot.differ", "Two snapshots of one node are two.",
     "The second would take the place of the first.", differs},
    {"snapshot.source", "The source has the content and the times that it had.",
     "It is the data that is to be protected.", leavesTheSource},
    {"snapshot.content", "The content of a snapshot is that of its source.",
     "Everything else is of no use.", hasTheContent},
    {"snapshot.all_or_none", "Where one of the nodes is bad, no snapshot is taken of the others.",
     "A session that failed is not looked at again; its snapshots would stay for ever.",
     makesAllOrNone},
    {"snapshot.dispose", "A snapshot that was disposed of is absent.",
     "Whoever believes it to be there counts on it.", disposes},
    {"snapshot.dispose_again", "A snapshot can be disposed of again.",
     "A job that was ended in the middle tries once more.", disposesAgain},
    {"snapshot.foreign", "What the provider has not made, it does not dispose of.",
     "A wrong name must not cost data.", leavesTheForeign},
    {"snapshot.restore", "restore brings the content back.", "That is what snapshots are for.",
     restores},
    {"snapshot.damaged", "A damaged snapshot is not restored, and the message names it.",
     "It would replace what is still good.", refusesTheDamaged},
    {"snapshot.absent", "A snapshot that is gone is not restored, and the message names it.",
     "The user must learn that nothing was brought back.", refusesTheAbsent},
};

}  // namespace

Requirements snapshotRequirements() { return kSnapshotRequirements; }

}  // namespace fihost::check
