#include "arraytool.h"

#include <cfiexecpipe.h>
#include <cfistringtool.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "failure.h"

namespace arraysnap {

namespace {

using orca_pdk::CFiStringTool;

constexpr std::size_t kLongestQuote = 200;
constexpr std::size_t kLongestOutput = 16 << 20;
constexpr long kCloseSeconds = 1;
// How the pipe tells an exit status.
constexpr char kExited[] = "Command exited with status ";
// And why nothing was run.
constexpr char kErrno[] = "errno=";

// A word as the command text wants it.
std::string quoted(const std::string& word) {
  std::string text;
  for (const char c : word) {
    if (std::strchr(" \t'\"\\", c) != nullptr) text += '\\';
    text += c;
  }
  return text;
}

void replaceAll(std::string& text, const std::string& part, const std::string& by) {
  for (std::size_t at = text.find(part); !part.empty() && at != std::string::npos;
       at = text.find(part, at + by.size())) {
    text.replace(at, part.size(), by);
  }
}

// How a command ended that did not succeed.
std::string ending(orca_pdk::CFiExecPipePosix& pipe, int result, const Settings& settings) {
  if (pipe.IsAbortRequested()) {
    return "its output is longer than " + std::to_string(kLongestOutput) + " bytes";
  }
  switch (result) {
    case orca_pdk::FI_EXEC_TIMED_OUT:
      return "no sign of life for " + std::to_string(settings.timeout) + " seconds";
    case orca_pdk::FI_EXEC_NOT_EXECUTABLE:
      return "the program is missing or not executable";
    default:
      break;
  }
  std::string message = pipe.getLastError().message;
  if (!message.starts_with(kErrno)) return message;
  return std::string("it could not be run: ") +
         std::strerror(std::atoi(message.c_str() + sizeof kErrno - 1));
}

// Whether there never was a process.
bool isUnborn(int result) {
  return result == orca_pdk::FI_EXEC_PIPE_FAILED || result == orca_pdk::FI_EXEC_FORK_FAILED ||
         result == orca_pdk::FI_EXEC_NOT_EXECUTABLE;
}

// What the tool's exit status says of the array. The tool's manual names these, and no others.
Array arrayAfter(const orca_pdk::CFiExecPipePosix& pipe, int result) {
  if (isUnborn(result)) return Array::kDidNothing;
  const std::string message = pipe.getLastError().message;
  if (result != orca_pdk::FI_EXEC_EXIT_STATUS || !message.starts_with(kExited)) {
    return Array::kNotKnown;
  }
  switch (std::atoi(message.c_str() + sizeof kExited - 1)) {
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

}  // namespace

const std::string* Reply::find(const std::string& key) const {
  const auto found =
      std::find_if(lines.begin(), lines.end(), [&](const auto& line) { return line.first == key; });
  return found != lines.end() ? &found->second : nullptr;
}

const std::string& Reply::at(const std::string& key) const {
  if (const std::string* value = find(key)) return *value;
  throw Failure{"ARRAYSNAP_BAD_ANSWER", {command, key}, orca_pdk::FI_FAILED, Array::kNotKnown};
}

LoginFile::LoginFile(const std::string& user, const std::string& password)
    : m_fd(memfd_create("login", MFD_CLOEXEC)) {
  const std::string text = user + "\n" + password + "\n";
  ssize_t written = -1;
  do {
    if (m_fd >= 0) written = write(m_fd, text.data(), text.size());
  } while (m_fd >= 0 && written < 0 && errno == EINTR);
  if (written == static_cast<ssize_t>(text.size())) return;
  const int error = errno;
  if (m_fd >= 0) close(m_fd);
  throw std::system_error(error, std::generic_category(), "the login for the array's tool");
}

LoginFile::~LoginFile() { close(m_fd); }

std::string LoginFile::path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

ArrayTool::ArrayTool(const orca_pdk::CFiTraceLogPtr& log, const Settings& settings,
                     const orca_pdk::SFiCredential& login)
    : m_log(log),
      m_settings(settings),
      m_password(CFiStringTool::tstr2str(login.password)),
      m_login(CFiStringTool::tstr2str(login.username), m_password) {}

std::string ArrayTool::commandOf(const std::vector<std::string>& words) const {
  std::string command = quoted(m_settings.tool);
  if (!m_settings.state.empty()) command += " --state " + quoted(m_settings.state);
  for (const std::string& word : words) command += " " + quoted(word);
  return command;
}

// The last line of an output, fit for a message whatever the tool printed.
std::string ArrayTool::quotable(const std::vector<std::string>& lines) const {
  std::string line;
  for (auto last = lines.rbegin(); line.empty() && last != lines.rend(); ++last) {
    line = last->substr(0, last->find('\n'));
  }
  replaceAll(line, m_password, "***");
  line.resize(std::min(line.size(), kLongestQuote));
  for (char& c : line) {
    const bool isPrintable = c >= ' ' && c <= '~';
    if (!isPrintable) c = '?';
  }
  return line.empty() ? "-" : line;
}

Reply ArrayTool::replyOf(const std::string& command, const std::vector<std::string>& lines) const {
  Reply reply{command, {}};
  for (const std::string& line : lines) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || line.back() != '\n') {
      throw Failure{"ARRAYSNAP_BAD_ANSWER",
                    {command, quotable(lines)},
                    orca_pdk::FI_FAILED,
                    Array::kNotKnown};
    }
    reply.lines.emplace_back(line.substr(0, equals),
                             line.substr(equals + 1, line.size() - equals - 2));
  }
  return reply;
}

Reply ArrayTool::run(const std::vector<std::string>& words) const {
  const std::string command = commandOf(words);
  orca_pdk::CFiExecPipePosix pipe(0);
  pipe.registerTraceLog(m_log);
  // The framework would run the command without its standard input.
  if (pipe.IsChildContext()) throw Failure{"ARRAYSNAP_CHILD_CONTEXT", {command}};
  pipe.setOutputLimit(kLongestOutput);
  std::vector<std::string> lines;
  const int result = pipe.Exec(command, lines, m_login.path(), m_settings.timeout, "", "", "");
  const bool isWhole = !pipe.IsAbortRequested();
  if (result == orca_pdk::FI_EXEC_OK && isWhole) return replyOf(command, lines);
  const std::string how = ending(pipe, result, m_settings);
  // After a time-out the tool is still there.
  pipe.Close(kCloseSeconds);
  const Array array = isWhole ? arrayAfter(pipe, result) : Array::kNotKnown;
  throw Failure{array == Array::kNotKnown ? "ARRAYSNAP_TOOL_BROKEN" : "ARRAYSNAP_TOOL_REFUSED",
                {command, how, quotable(lines)},
                orca_pdk::FI_FAILED,
                array};
}

ArrayTool openArray(const orca_pdk::CFiTraceLogPtr& log) {
  ConfigurationFile file;
  file.requireReadable();
  const Settings settings = file.settings();
  return ArrayTool(log, settings, file.login(settings.arrayHost));
}

}  // namespace arraysnap
