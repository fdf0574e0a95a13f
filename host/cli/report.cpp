#include "cli/report.h"

#include <iostream>

#include "cli/answertext.h"
#include "cli/text.h"
#include "framework/currentoperation.h"

namespace fihost {

namespace {

Json toJson(const Call& call) {
  Json json{{"operation", call.operation->name}, {"node", call.node}};
  if (call.code) {
    json["code"] = *call.code;
    json["meaning"] = call.operation->meaningOf(*call.code);
  }
  if (call.isDefault) json["default"] = true;
  if (!call.exception.empty()) json["exception"] = call.exception;
  json["milliseconds"] = call.milliseconds;
  return json;
}

void complain(const std::string& text) { std::cerr << "fihost: " << printable(text) << std::endl; }

}  // namespace

std::string answerText(const Call& call) {
  if (!call.exception.empty()) return "raised " + call.exception;
  const std::string mark = call.isDefault ? " (default)" : "";
  if (!call.code) return "done" + mark;
  const std::string meaning = call.operation->meaningOf(*call.code);
  return (call.operation->isGood(*call.code) ? meaning
                                             : std::to_string(*call.code) + " (" + meaning + ")") +
         mark;
}

std::string failureText(const Failure& failure) {
  const Call& call = failure.call;
  std::string text = "provider " + call.provider + ", operation " + call.operation->name;
  if (!call.node.empty()) text += ", node " + call.node;
  text += ": " + answerText(call);
  if (!failure.reason.empty()) text += "; " + failure.reason;
  if (!failure.lastError.empty()) text += "; last error: " + failure.lastError;
  return text + "; " + failure.changed;
}

std::string toText(const Json& document) {
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json rowsOf(const Json& answer, const char* list) { return answer.value(list, Json::array()); }

void Report::ended(const Call& call) {
  if (call.operation->isStep) m_answer["operations"].push_back(toJson(call));
}

void Report::failed(const Failure& failure) {
  Json json = toJson(failure.call);
  json["provider"] = failure.call.provider;
  json["reason"] = failure.reason;
  json["last_error"] = failure.lastError;
  json["changed"] = failure.changed;
  m_answer["failures"].push_back(json);
  complain(failureText(failure));
}

void Report::warning(const std::string& text) {
  m_answer["warnings"].push_back(text);
  complain(text);
}

void Report::missed(const std::string& place, const std::string& sentence) {
  m_answer["failures"].push_back({{"place", place}, {"reason", sentence}});
  complain(place + ": " + sentence);
}

void Report::error(Exit exit, const std::string& text) {
  m_answer["error"] = text;
  m_exit = exit;
  complain(text);
}

void Report::lost(const std::string& what) {
  m_exit = kRefused;
  const CurrentOperation* current = CurrentOperation::get();
  if (current == nullptr) {
    m_answer["error"] = what;
    return;
  }
  m_answer["failures"].push_back({{"operation", current->operation()},
                                  {"node", current->node()},
                                  {"provider", current->provider()},
                                  {"reason", what},
                                  {"changed", current->changed()}});
}

void Report::finding(const std::string& text) {
  m_answer["findings"].push_back(text);
  complain(text);
}

Exit Report::exitStatus() const {
  const bool isFound = !m_isLenient && !rowsOf(m_answer, "findings").empty();
  return m_exit == kDone && (isFound || m_answer.contains("failures")) ? kRefused : m_exit;
}

}  // namespace fihost
