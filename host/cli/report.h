#ifndef FIHOST_CLI_REPORT_H
#define FIHOST_CLI_REPORT_H

#include <nlohmann/json.hpp>
#include <string>

#include "cli/exitstatus.h"
#include "trace/event.h"

namespace fihost {

using Json = nlohmann::ordered_json;

// A document as text; bytes that are no UTF-8 are replaced.
std::string toText(const Json& document);

// The rows of a list in an answer; none where the verb did not come that far.
Json rowsOf(const Json& answer, const char* list);

// The one answer to the user: a document that the verb and the calls of the provider build, printed
// once, at the end. What went wrong is said on standard error as it happens, too.
class Report : public CallObserver {
 public:
  // `isLenient`: findings do not change the exit status.
  Report(const std::string& verb, bool isLenient) : m_isLenient(isLenient) {
    m_answer["verb"] = verb;
  }

  // The verb's own part.
  Json& answer() { return m_answer; }

  void ended(const Call& call) override;
  void failed(const Failure& failure) override;
  // Something that the user should know, and nothing more.
  void warning(const std::string& text);
  // Something that a session file expects and that is not so, and where that stands.
  void missed(const std::string& place, const std::string& sentence);
  // What ended the verb, with the exit status that it has then.
  void error(Exit exit, const std::string& text);
  // What is being called and will not come back; nothing is said on standard error.
  void lost(const std::string& what);
  // Something that the provider did wrong with memory.
  void finding(const std::string& text);

  // The exit status by what stands in the answer.
  Exit exitStatus() const;

 private:
  Json m_answer;
  bool m_isLenient;
  Exit m_exit = kDone;
};

}  // namespace fihost

#endif
