#include "cli/report.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iomanip>
#include <iostream>
#include <sstream>

#include "cli/text.h"

namespace fihost {

namespace {

std::string answerOf(const Call& call) {
  if (!call.exception.empty()) return "raised " + call.exception;
  if (!call.code) return "done";
  std::string meaning = call.operation->meaningOf(*call.code);
  if (call.operation->isGood(*call.code)) return meaning;
  return std::to_string(*call.code) + " (" + meaning + ")";
}

nlohmann::ordered_json toJson(const Call& call) {
  nlohmann::ordered_json json{{"operation", call.operation->name}, {"node", call.node}};
  if (call.code) {
    json["code"] = *call.code;
    json["meaning"] = call.operation->meaningOf(*call.code);
  }
  if (!call.exception.empty()) json["exception"] = call.exception;
  json["milliseconds"] = call.milliseconds;
  return json;
}

std::string sentence(const Failure& failure) {
  std::string text =
      "provider " + failure.call.provider + ", operation " + failure.call.operation->name;
  if (!failure.call.node.empty()) text += ", node " + failure.call.node;
  text += ": " + answerOf(failure.call);
  if (!failure.reason.empty()) text += "; " + failure.reason;
  if (!failure.lastError.empty()) text += "; last error: " + failure.lastError;
  return text + "; " + failure.changed;
}

void complain(const std::string& text) { std::cerr << "fihost: " << printable(text) << std::endl; }

void writeAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = write(fd, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

}  // namespace

Report::Report(const std::string& verb, bool json) : m_json(json) {
  m_document["verb"] = verb;
  if (!m_json) return;
  m_answerFd = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  dup2(STDERR_FILENO, STDOUT_FILENO);
}

Report::~Report() {
  if (m_answerFd >= 0) close(m_answerFd);
}

void Report::line(const std::string& text) {
  if (!m_json) std::cout << text << std::endl;
}

void Report::text(const std::string& text) {
  if (!m_json) std::cout << text << std::flush;
}

void Report::ended(const Call& call) {
  if (!call.operation->isStep) return;
  m_document["operations"].push_back(toJson(call));
  if (!m_operationsShown) return;
  std::ostringstream out;
  out << std::left << std::setw(20) << call.operation->name << std::right << std::setw(10)
      << milliseconds(call.milliseconds) << " ms  " << printable(answerOf(call));
  if (!call.node.empty()) out << "  " << printable(call.node);
  line(out.str());
}

void Report::failed(const Failure& failure) {
  nlohmann::ordered_json json = toJson(failure.call);
  json["provider"] = failure.call.provider;
  json["reason"] = failure.reason;
  json["last_error"] = failure.lastError;
  json["changed"] = failure.changed;
  m_document["failures"].push_back(json);
  complain(sentence(failure));
}

void Report::warning(const std::string& text) {
  m_document["warnings"].push_back(text);
  complain(text);
}

void Report::error(const std::string& text) {
  m_document["error"] = text;
  complain(text);
}

void Report::finding(const std::string& text) {
  m_document["findings"].push_back(text);
  complain(text);
}

void Report::finish(int exit) {
  if (!m_json) return;
  m_document["exit"] = exit;
  std::fflush(stdout);
  writeAll(m_answerFd,
           m_document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

}  // namespace fihost
