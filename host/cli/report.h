#ifndef FIHOST_CLI_REPORT_H
#define FIHOST_CLI_REPORT_H

#include <nlohmann/json.hpp>
#include <string>

#include "trace/event.h"

namespace fihost {

// What the user sees. As text, lines are printed as things happen; with --json everything goes into
// one document that is printed at the end, and whatever a provider prints goes to standard error.
class Report : public CallObserver {
 public:
  Report(const std::string& verb, bool json);
  ~Report() override;
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;

  bool isJson() const { return m_json; }
  // The document; verbs add their answers to it.
  nlohmann::ordered_json& document() { return m_document; }

  // A line of the answer; text only.
  void line(const std::string& text);
  // A text as it is; text only.
  void text(const std::string& text);
  // Whether operations get a line each; the document has them all. They do at first.
  void setOperationsShown(bool shown) { m_operationsShown = shown; }
  void ended(const Call& call) override;
  // Whether an operation failed so far.
  bool isFailed() const { return m_document.contains("failures"); }
  // To standard error, and into the document.
  void failed(const Failure& failure) override;
  void warning(const std::string& text);
  void error(const std::string& text);
  void finding(const std::string& text);
  // Ends the answer.
  void finish(int exit);

 private:
  bool m_json;
  bool m_operationsShown = true;
  int m_answerFd = -1;  // the real standard output while a provider's goes elsewhere
  nlohmann::ordered_json m_document;
};

}  // namespace fihost

#endif
