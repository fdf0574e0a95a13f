#include "check/bench.h"
#include "check/values.h"
#include "framework/operations.h"

namespace fihost::check {

namespace {

std::string claimed(Life& life, Node& node) {
  const std::optional<int> answer = ops::claim(life.caller(), node);
  return answer ? describe(Op::Claim).meaningOf(*answer) : life.failure();
}

void claimsAlike(Bench& bench) {
  const std::string name = bench.node();
  Life life(bench, {});
  life.init();
  Node node(name);
  const std::string first = claimed(life, node);
  const std::string second = claimed(life, node);
  require(first == second, "claim of " + name + " answered first " + first + ", then " + second);
}

void claimsNoNonsense(Bench& bench) {
  Life life(bench, {});
  life.init();
  const std::string absent = (bench.folder() / "there is no such node").string();
  for (const std::string& name :
       {std::string(), absent, std::string("\xff\x01%s%n\n"),
        std::string("<" + life.plugin().name() + ">"), std::string(100000, 'x')}) {
    Node node(name);
    const std::optional<int> answer = ops::claim(life.caller(), node);
    require(life.caller().last().exception.empty(), life.failure());
    require(!answer || *answer == PYX_CLAIM_NONE, "it claims \"" + name.substr(0, 100) + "\"");
  }
}

void setsUpAgain(Bench& bench) {
  Life life(bench);
  life.begin();
  std::string before;
  std::string after;
  life.must(ops::configGetParam(life.caller(), life.node(), life.session(), before));
  ops::deInitNode(life.caller(), life.node());
  life.must(ops::initNode(life.caller(), life.node()));
  life.must(ops::configGetParam(life.caller(), life.node(), life.session(), after));
  require(before == after, "the parameters are others after initNode, deInitNode, initNode");
}

void keepsApart(Bench& bench) {
  Life life(bench, bench.nodes(2));
  life.begin();
  NodeSet& nodes = life.nodes();
  const Setting other = anotherValue(descriptionsOf(life));
  life.configure();
  const std::string before = valuesOf(life, nodes[1]);
  std::string completed;
  life.must(
      ops::configSet(life.caller(), nodes[0], life.session(), documentOf({other}), completed));
  require(valuesOf(life, nodes[1]) == before,
          other.first + " was set for " + nodes[0].name() + ", and " + nodes[1].name() + " has it");
}

// What the provider puts in front of the first node of the user; skips where it does not.
ops::Interposed interposed(Life& life, const std::string& name) {
  life.init();
  const std::string marker = "<" + life.plugin().name() + ">";
  Node node(name.starts_with(marker) ? name.substr(marker.size()) : name);
  ops::Interposed answer;
  life.must(ops::interpose(life.caller(), node, answer));
  if (!answer.isThere) throw Skipped{"the provider puts nothing in front of " + node.name()};
  return answer;
}

void marksWhatItInterposes(Bench& bench) {
  Life life(bench, {});
  const std::string name = bench.node();
  const std::string front = interposed(life, name).name;
  const std::string marker = "<" + life.plugin().name() + ">";
  const std::string wanted = name.starts_with(marker) ? name : marker + name;
  require(front == wanted, "the node in front is \"" + front + "\", not \"" + wanted + "\"");
}

void claimsWhatItInterposes(Bench& bench) {
  Life life(bench, {});
  Node front(interposed(life, bench.node()).name);
  const std::optional<int> answer = ops::claim(life.caller(), front);
  require(answer && *answer != PYX_CLAIM_NONE, front.name() + " is not claimed");
}

void setsUpGroups(Bench& bench) {
  Life life(bench, {});
  const ops::Interposed answer = interposed(life, bench.node());
  if (answer.groups.empty()) throw Skipped{"the provider has no groups"};
  for (const std::string& name : answer.groups) {
    require(!name.empty(), "a group has no name");
    Node group(name);
    const bool good = ops::initNode(life.caller(), group);
    const std::string failure = life.failure();
    ops::deInitNode(life.caller(), group);
    require(good, failure);
  }
}

constexpr Requirement kNodeRequirements[] = {
    {"node.claim", "claim answers the same for the same node.",
     "The framework asks more than once, and builds on the first answer.", claimsAlike},
    {"node.nonsense", "Names that are no nodes are not claimed.",
     "Whoever claims what is not there keeps it from its real owner, or fails later.",
     claimsNoNonsense},
    {"node.again", "initNode works again after deInitNode.",
     "A framework gives nodes up and takes them up again in one run.", setsUpAgain},
    {"node.apart", "A value that is set for a node does not show at another one.",
     "Two nodes of one job have settings of their own.", keepsApart},
    {"node.marker", "What stands in front of a node bears the provider's marker and its name.",
     "The framework knows by it whose the node is.", marksWhatItInterposes},
    {"node.front", "What the provider puts in front of a node, it claims.",
     "Nobody else can: the node would be lost.", claimsWhatItInterposes},
    {"node.groups", "Every group that a node in front belongs to can be set up.",
     "The framework sets groups up before their nodes.", setsUpGroups},
};

}  // namespace

Requirements nodeRequirements() { return kNodeRequirements; }

}  // namespace fihost::check
