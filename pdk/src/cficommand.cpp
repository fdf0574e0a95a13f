#include "cficommand.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include "cfidescriptor.h"
#include "cfiexecpipe.h"
#include "cfiretry.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr long kCloseSeconds = 1;
constexpr std::size_t kLongestLine = 200;
// How the pipe tells an exit status, and why nothing was run.
constexpr char kExited[] = "Command exited with status ";
constexpr char kErrno[] = "errno=";

std::string notRun(int error) {
  return "it could not be run: " + std::generic_category().message(error);
}

// A text in a file that has no name and is gone with this object, so that no other user can open
// it. Its path is good in this process, and in a child before it becomes another program.
class InputFile {
 public:
  explicit InputFile(const std::string& text)
      : m_file(text.empty() ? -1 : memfd_create("input", MFD_CLOEXEC)) {
    std::string_view left = text;
    ssize_t put = m_file.get();
    while (put >= 0 && !left.empty()) {
      put = retryInterrupted([&] { return write(m_file.get(), left.data(), left.size()); });
      if (put > 0) left.remove_prefix(static_cast<std::size_t>(put));
    }
    if (!left.empty()) m_error = errno;
  }

  int error() const { return m_error; }
  std::string path() const {
    return m_file.get() < 0 ? "" : "/proc/self/fd/" + std::to_string(m_file.get());
  }

 private:
  CFiDescriptor m_file;
  int m_error = 0;
};

bool isRun(int result) {
  return result != FI_EXEC_PIPE_FAILED && result != FI_EXEC_FORK_FAILED &&
         result != FI_EXEC_BAD_COMMAND && result != FI_EXEC_NOT_EXECUTABLE;
}

std::string wordsFor(const CFiExecPipePosix& pipe, int result, unsigned long timeout) {
  if (result == FI_EXEC_TIMED_OUT) {
    return "no sign of life for " + std::to_string(timeout) + " seconds";
  }
  if (result == FI_EXEC_NOT_EXECUTABLE) return "the program is missing or not executable";
  std::string message = pipe.getLastError().message;
  if (!message.starts_with(kErrno)) return message;
  return notRun(std::atoi(message.c_str() + sizeof kErrno - 1));
}

// The framework runs the command, and answers with its exit status.
SFiCommandEnd runInChildContext(CFiExecPipePosix& pipe, const SFiCommand& command) {
  if (!command.input.empty()) {
    return {FI_COMMAND_NO_INPUT, -1, "it would be run without its input", {}};
  }
  SFiCommandEnd end;
  end.status = pipe.Exec(command.text(), end.lines, "", command.timeout, "", "", "");
  const bool isEnded = end.status >= 0;
  end.outcome = isEnded ? FI_COMMAND_ENDED : FI_COMMAND_CUT_OFF;
  end.how = isEnded ? kExited + std::to_string(end.status) : "the framework gave no exit status";
  return end;
}

}  // namespace

SFiCommandEnd SFiCommand::run(const CFiTraceLogPtr& log) const {
  CFiExecPipePosix pipe(0);
  pipe.registerTraceLog(log);
  if (text().find('\0') != std::string::npos) return {FI_COMMAND_NOT_RUN, -1, notRun(EINVAL), {}};
  if (pipe.IsChildContext()) return runInChildContext(pipe, *this);
  const InputFile file(input);
  if (file.error() != 0) return {FI_COMMAND_NOT_RUN, -1, notRun(file.error()), {}};
  pipe.setOutputLimit(outputLimit);
  SFiCommandEnd end;
  const int result = pipe.Exec(text(), end.lines, file.path(), timeout, "", "", "");
  if (pipe.IsAbortRequested()) {
    end.outcome = FI_COMMAND_CUT_OFF;
    end.how = "its output is longer than " + std::to_string(outputLimit) + " bytes";
  } else if (result == FI_EXEC_OK) {
    end.outcome = FI_COMMAND_ENDED;
    end.status = 0;
  } else {
    end.how = wordsFor(pipe, result, timeout);
    const bool isEnded = result == FI_EXEC_EXIT_STATUS && end.how.starts_with(kExited);
    if (isEnded) end.status = std::atoi(end.how.c_str() + sizeof kExited - 1);
    if (isRun(result)) end.outcome = isEnded ? FI_COMMAND_ENDED : FI_COMMAND_CUT_OFF;
    pipe.Close(kCloseSeconds);  // after a time-out the program is still there
  }
  return end;
}

std::string SFiCommand::text() const {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += ' ';
    if (word.empty()) text += "''";
    for (const char c : word) {
      if (std::string_view(" \t'\"\\").find(c) != std::string_view::npos) text += '\\';
      text += c;
    }
  }
  return text;
}

std::string SFiCommandEnd::lastLine(const std::string& secret) const {
  std::string line;
  for (auto last = lines.rbegin(); line.empty() && last != lines.rend(); ++last) {
    line = last->substr(0, last->find('\n'));
  }
  line = CFiStringTool::searchreplace(line, secret, "***");
  line.resize(std::min(line.size(), kLongestLine));
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return line.empty() ? "-" : line;
}

}  // namespace orca_pdk_4_4
