#include "trace/player.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "cli/answertext.h"
#include "cli/names.h"
#include "framework/lasterror.h"

namespace fihost {

namespace {

constexpr int kSecondsToWait = 60;

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : " ") + asWord(text);
  return all.empty() ? "nothing" : all;
}

// Whether the words are about what was answered, not about outputs.
bool isOfAnswer(const std::vector<Word>& words) {
  const std::string& first = words.front().text;
  return words.size() == 1 ? first == "done" || first == "raised" ||
                                 first.find_first_not_of("-0123456789") == first.npos
                           : first == "raised";
}

// The outputs that a word names; of statuses the words for them.
std::vector<std::string> outputsOf(const Call& call, const std::string& name) {
  const Value* statuses = name == "status" ? find(call.outputs, "statuses") : nullptr;
  const Value* value = statuses != nullptr ? statuses : find(call.outputs, name);
  if (value == nullptr) throw std::string(call.operation->name) + " gives no " + name;
  std::vector<std::string> texts = textsOf(*value);
  if (statuses == nullptr) return texts;
  for (std::string& text : texts) text = statusName(call.operation->id, std::stol(text));
  return texts;
}

}  // namespace

Player::Player(Caller& caller, NodePool& nodes, const SessionFile& file, int timeout, Miss miss)
    : m_caller(caller),
      m_file(file),
      m_stage(caller, nodes),
      m_timeout(timeout > 0 ? timeout : kSecondsToWait),
      m_miss(std::move(miss)) {}

void Player::play() {
  for (const SessionStep& step : m_file.steps) play(step);
}

void Player::play(const SessionStep& step) {
  try {
    perform(step);
    waitFor(step);
  } catch (const std::string& reason) {
    m_miss(m_file.at(step.line), step.form->name() + " was not called: " + reason);
    return;
  }
  bool isJudged = false;
  for (const Expectation& expectation : step.expectations) {
    isJudged = isJudged || isOfAnswer(expectation.words);
    judge(step, expectation);
  }
  const Call& call = m_caller.last();
  if (!call.refused.empty()) {
    missed(step, step.line, "an answer to believe, but " + call.refused);
  } else if (!isJudged && !call.isGood()) {
    missed(step, step.line, "that it does its work, but it " + answer());
  }
}

void Player::perform(const SessionStep& step) {
  Stage::Arguments arguments;
  for (const Place& place : step.form->places()) {
    for (const std::string& name : {place.name, place.second}) {
      const auto words = step.arguments.find(name);
      if (words != step.arguments.end()) {
        arguments[name] = resolved(words->second, place.areNodes);
      }
    }
  }
  m_stage.set(arguments, step.session);
  m_isMessageTaken = false;
  step.form->perform(m_stage);
}

// Calls the operation again until it gives what is awaited, fails, or the time is over.
void Player::waitFor(const SessionStep& step) {
  using namespace std::chrono_literals;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(m_timeout);
  for (auto pause = 10ms; m_caller.last().isGood() && !areThere(step);
       pause = std::min<std::chrono::milliseconds>(2 * pause, 1s)) {
    if (std::chrono::steady_clock::now() + pause > end) return;
    std::this_thread::sleep_for(pause);
    perform(step);
  }
}

bool Player::areThere(const SessionStep& step) {
  return std::all_of(step.expectations.begin(), step.expectations.end(),
                     [&](const Expectation& expectation) {
                       return !expectation.isAwaited || difference(expectation.words).empty();
                     });
}

void Player::judge(const SessionStep& step, const Expectation& expectation) {
  ++m_expectations;
  const std::string reason = difference(expectation.words);
  if (!reason.empty()) missed(step, expectation.line, reason);
}

void Player::missed(const SessionStep& step, int line, const std::string& expected) {
  const Call& call = m_caller.last();
  m_miss(m_file.at(line),
         step.form->name() + (call.node.empty() ? "" : " ") + call.node + ": expected " + expected);
}

std::string Player::difference(const std::vector<Word>& words) {
  std::vector<std::string> texts;
  texts.reserve(words.size());
  for (const Word& word : words) texts.push_back(word.text);
  try {
    texts = resolved(words, false);
    return isOfAnswer(words) ? answerDifference(texts) : outputDifference(texts);
  } catch (const std::string& reason) {
    return joined(texts) + ", but " + reason;
  }
}

std::string Player::answerDifference(const std::vector<std::string>& texts) {
  const Call& call = m_caller.last();
  bool isIt = false;
  if (texts[0] == "raised") {
    isIt = !call.exception.empty() && (texts.size() == 1 || texts[1] == call.exception);
  } else if (texts[0] == "done") {
    isIt = call.exception.empty() && !call.code;
  } else {
    isIt = call.code && std::to_string(*call.code) == texts[0];
  }
  return isIt ? "" : joined(texts) + ", but it " + answer();
}

std::string Player::outputDifference(const std::vector<std::string>& texts) {
  const bool isCount = texts[0] == "count" && texts.size() == 3;
  const std::string& name = isCount ? texts[1] : texts[0];
  std::vector<std::string> got =
      name == "message" ? std::vector{message()} : outputsOf(m_caller.last(), name);
  if (isCount) got = {std::to_string(got.size())};
  const std::vector<std::string> wanted(texts.begin() + (isCount ? 2 : 1), texts.end());
  return got == wanted ? "" : joined(texts) + ", got " + joined(got) + "; it " + answer();
}

std::vector<std::string> Player::resolved(const std::vector<Word>& words, bool areNodes) const {
  std::vector<std::string> texts;
  texts.reserve(words.size());
  for (const Word& word : words) texts.push_back(resolved(word, areNodes));
  return texts;
}

std::string Player::resolved(const Word& word, bool isNode) const {
  const std::size_t number = snapshotNumber(word);
  if (number > m_snapshots.size()) {
    throw "only " + std::to_string(m_snapshots.size()) + " snapshots were handed out before";
  }
  if (number > 0) return m_snapshots[number - 1];
  return isNode ? absoluteName(word.text) : word.text;
}

// Of an operation that failed the message was asked for already.
std::string Player::message() {
  if (!m_isMessageTaken && m_caller.last().isGood()) takeLastError(m_caller);
  m_isMessageTaken = true;
  return messageId(m_message);
}

std::string Player::answer() {
  const std::string id = message();
  return "answered " + answerText(m_caller.last()) + (id.empty() ? "" : ", message " + id);
}

void Player::ended(const Call& call) {
  if (call.operation->id == Op::GetLastError) {
    m_message = textsOf(*find(call.outputs, "message")).front();
  }
  if (call.operation->id != Op::Make) return;
  for (const std::string& name : textsOf(*find(call.outputs, "snapshots"))) {
    m_snapshots.push_back(name);
  }
}

}  // namespace fihost
