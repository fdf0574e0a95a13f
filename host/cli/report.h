#ifndef FIHOST_CLI_REPORT_H
#define FIHOST_CLI_REPORT_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace fihost {

// One operation that was called.
struct Call {
  std::string operation;
  std::string node;         // the node, or several with ", " between them; may be empty
  std::optional<int> code;  // none for operations without a result and after an exception
  std::string exception;    // what was raised; empty when nothing was
  double milliseconds = 0;
};

// Why a verb does not do all that it was asked for.
struct Failure {
  std::string provider;
  Call call;
  std::string reason;     // what is wrong where the code does not say it; may be empty
  std::string lastError;  // the provider's own words; may be empty
  std::string changed;    // what has changed, as a sentence without a point
};

// What the user sees. As text, lines are printed as things happen; with --json everything goes into
// one document that is printed at the end, and whatever a provider prints goes to standard error.
class Report {
 public:
  Report(const std::string& verb, bool json);
  ~Report();
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
  void operation(const Call& call);
  // To standard error, and into the document.
  void failure(const Failure& failure);
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
