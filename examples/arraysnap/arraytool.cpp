#include "arraytool.h"

#include <cfistringtool.h>

#include <algorithm>

#include "failure.h"

namespace arraysnap {

using namespace orca_pdk;

namespace {

// What the tool's end says of the array. The tool's manual names these statuses, and no others.
Array arrayAfter(const SFiCommandEnd& end) {
  if (end.outcome == FI_COMMAND_NOT_RUN) return Array::kDidNothing;
  switch (end.status) {
    case 5:
      return Array::kConflict;
    case 2:
    case 3:
    case 4:
    case 6:
    case 8:
    case 9:
      return Array::kDidNothing;
    default:
      return Array::kNotKnown;
  }
}

Failure unknownAnswer(const std::string& command, const std::string& what) {
  return {"ARRAYSNAP_BAD_ANSWER", {command, what}, FI_FAILED, Array::kNotKnown};
}

}  // namespace

const std::string* Reply::find(const std::string& key) const {
  const auto found =
      std::find_if(lines.begin(), lines.end(), [&](const auto& line) { return line.first == key; });
  return found != lines.end() ? &found->second : nullptr;
}

const std::string& Reply::at(const std::string& key) const {
  if (const std::string* value = find(key)) return *value;
  throw unknownAnswer(command, key);
}

ArrayTool::ArrayTool(const CFiTraceLogPtr& log) : m_log(log) {
  ConfigurationFile file;
  file.requireReadable();
  m_settings = file.settings();
  const SFiCredential login = file.login(m_settings.arrayHost);
  m_user = CFiStringTool::tstr2str(login.username);
  m_password = CFiStringTool::tstr2str(login.password);
}

Reply ArrayTool::run(const std::vector<std::string>& words) const {
  SFiCommand call{{m_settings.tool}, m_user + "\n" + m_password + "\n", m_settings.timeout};
  if (!m_settings.state.empty()) call.words.insert(call.words.end(), {"--state", m_settings.state});
  call.words.insert(call.words.end(), words.begin(), words.end());
  const std::string command = call.text();
  const SFiCommandEnd end = call.run(m_log);
  if (end.status == 0) return replyOf(command, end);
  if (end.outcome == FI_COMMAND_NO_INPUT) throw Failure{"ARRAYSNAP_CHILD_CONTEXT", {command}};
  const Array array = arrayAfter(end);
  throw Failure{array == Array::kNotKnown ? "ARRAYSNAP_TOOL_BROKEN" : "ARRAYSNAP_TOOL_REFUSED",
                {command, end.how, end.lastLine(m_password)},
                FI_FAILED,
                array};
}

Reply ArrayTool::replyOf(const std::string& command, const SFiCommandEnd& end) const {
  Reply reply{command, {}};
  for (const std::string& line : end.lines) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || line.back() != '\n') {
      throw unknownAnswer(command, end.lastLine(m_password));
    }
    reply.lines.emplace_back(line.substr(0, equals),
                             line.substr(equals + 1, line.size() - equals - 2));
  }
  return reply;
}

}  // namespace arraysnap
