#ifndef FIHOST_TRACE_PLAYER_H
#define FIHOST_TRACE_PLAYER_H

#include <functional>
#include <string>
#include <vector>

#include "trace/sessionfile.h"
#include "trace/stage.h"

namespace fihost {

// Performs a session file: each operation once in its order, whatever came of those before, and
// looks at what it answered. An operation without an expectation of its answer must do what it is
// called for.
class Player : public CallObserver {
 public:
  // Told of each thing that is not as it must be: the place in the file, and a sentence.
  using Miss = std::function<void(const std::string& place, const std::string& sentence)>;
  // `timeout`: seconds for which "until" waits; 0: a minute. The caller must be observed by this
  // object; `nodes` must live as long as the plug-in.
  Player(Caller& caller, NodePool& nodes, const SessionFile& file, int timeout, Miss miss);

  void play();

  void ended(const Call& call) override;

  // How many expectations were looked at.
  std::size_t expectations() const { return m_expectations; }

 private:
  void play(const SessionStep& step);
  void perform(const SessionStep& step);
  void waitFor(const SessionStep& step);
  bool areThere(const SessionStep& step);
  void judge(const SessionStep& step, const Expectation& expectation);
  void missed(const SessionStep& step, int line, const std::string& expected);
  // What is not as the words say; empty where all is.
  std::string difference(const std::vector<Word>& words);
  std::string answerDifference(const std::vector<std::string>& texts);
  std::string outputDifference(const std::vector<std::string>& texts);
  std::string resolved(const Word& word, bool isNode) const;
  std::vector<std::string> resolved(const std::vector<Word>& words, bool areNodes) const;
  std::string message();
  std::string answer();

  Caller& m_caller;
  const SessionFile& m_file;
  Stage m_stage;
  int m_timeout;
  Miss m_miss;
  std::vector<std::string> m_snapshots;
  std::string m_message;  // the last error that was asked for since the operation began
  bool m_isMessageTaken = false;
  std::size_t m_expectations = 0;
};

}  // namespace fihost

#endif
