#include "check/bench.h"
#include "framework/lasterror.h"
#include "framework/operations.h"

namespace fihost::check {

namespace {

// What a provider said when it refused a node that is not there.
struct Refusal {
  std::string message;   // as it travels
  std::string sentence;  // in the native language
};

// Lets a snapshot be taken of a node that is not there, which must be refused.
Refusal refused(Life& life, const std::string& name) {
  NodeSet nodes({name});
  std::vector<std::string> snapshots;
  const bool isTaken = ops::initNode(life.caller(), nodes[0]) &&
                       ops::prepare(life.caller(), nodes, life.session()) &&
                       ops::make(life.caller(), nodes, life.session(), snapshots);
  if (isTaken) throw Skipped{"the provider takes a snapshot of " + name + ", which is not there"};
  if (life.caller().last().code == 4) throw Skipped{"the provider takes no snapshots"};
  Refusal refusal{life.message(), life.sentence()};
  ops::deInitNode(life.caller(), nodes[0]);
  return refusal;
}

// The same, and skips where the provider says nothing.
Refusal explained(Life& life, const std::string& name) {
  Refusal refusal = refused(life, name);
  if (refusal.message.empty()) throw Skipped{"the refusal left no message"};
  return refusal;
}

std::string localised(Life& life, std::string message, const std::string& language) {
  pyx_msg_info info{message.data(), message.size() + 1};
  int unused = 0;
  char* text = nullptr;
  life.caller().call(Op::GetLocaleMessage, "", {{"message", message}, {"locale", language}},
                     [&](auto& provider) {
                       return provider.getLocaleMessage(&unused, &info, language.c_str(), &text);
                     });
  require(text != nullptr, "getLocaleMessage gave no text in the language " + language);
  std::string sentence = text;
  life.caller().call(Op::DelLocaleMessage, "", {},
                     [&](auto& provider) { return provider.delLocaleMessage(&text); });
  return sentence;
}

// A "<" cannot travel in a message: a name is looked for without the provider's marker.
bool names(const std::string& text, const std::string& node) {
  const std::size_t marker = node.starts_with('<') ? node.find('>') + 1 : 0;
  return text.find(node.substr(marker)) != std::string::npos;
}

void leavesAMessage(Bench& bench) {
  Life life(bench, {});
  life.init();
  const std::string name = bench.absentNode();
  require(!refused(life, name).message.empty(), name + " was refused without a message");
}

void namesTheObject(Bench& bench) {
  Life life(bench, {});
  life.init();
  const std::string name = bench.absentNode();
  const Refusal refusal = explained(life, name);
  require(names(refusal.message, name),
          "the message does not name " + name + ": " + refusal.message);
}

void speaksAllLanguages(Bench& bench) {
  Life life(bench, {});
  life.init();
  const std::string name = bench.absentNode();
  const Refusal refusal = explained(life, name);
  for (const std::string& language : bench.languages(life.plugin().name())) {
    const std::string text = localised(life, refusal.message, language);
    const bool isId = text.find('<') < text.find(' ');
    const std::string where = std::string(" in the language ").append(language).append(": ");
    require(!isId, ("there is no text" + where).append(text));
    const bool isWhole = names(text, name) || !names(refusal.message, name);
    require(isWhole && text.find("{0}") == std::string::npos,
            ("an argument is missing" + where).append(text));
  }
}

void isOfThisCall(Bench& bench) {
  Life life(bench, {});
  life.init();
  const std::string first = bench.absentNode() + "-first";
  const std::string second = bench.absentNode() + "-second";
  explained(life, first);
  const Refusal refusal = explained(life, second);
  require(!names(refusal.message, first),
          "the message of " + second + " is that of " + first + ": " + refusal.message);
}

void goesAway(Bench& bench) {
  Life life(bench, {});
  life.init();
  explained(life, bench.absentNode());
  const std::string left = takeLastError(life.caller());
  require(left.empty(), "after delLastError there is still a message: " + left);
}

constexpr Requirement kErrorsRequirements[] = {
    {"errors.message", "A node that is not there is refused with a message.",
     "A number alone helps nobody.", leavesAMessage},
    {"errors.object", "The message names the node.", "A job has many of them.", namesTheObject},
    {"errors.languages", "The message has its text and its arguments in every language.",
     "The user would read an id, or half of a sentence.", speaksAllLanguages},
    {"errors.of_this_call", "The message is that of the call that failed last.",
     "A stale one leads to the wrong place.", isOfThisCall},
    {"errors.go_away", "After delLastError it is gone.", "It would be quoted for the next failure.",
     goesAway},
};

}  // namespace

Requirements errorsRequirements() { return kErrorsRequirements; }

}  // namespace fihost::check
