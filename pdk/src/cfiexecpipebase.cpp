#include "cfiexecpipebase.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "V_strings.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kLineBufferSize = 8192;
constexpr long kCloseTimeout = 10;
constexpr std::size_t kUnknownLength = static_cast<std::size_t>(-1);

bool s_nanosleepMissing = false;

}  // namespace

CFiExecPipeBase::CFiExecPipeBase(int closeAfterExec)
    : CFiExecPipeBase(std::vector<std::string>(), closeAfterExec) {}

CFiExecPipeBase::CFiExecPipeBase(std::vector<std::string> list, int closeAfterExec)
    : m_list(std::move(list)),
      m_closeAfterExec(closeAfterExec != 0),
      m_lineLength(kUnknownLength),
      m_outputLimit(std::numeric_limits<std::size_t>::max()) {}

CFiExecPipeBase::~CFiExecPipeBase() = default;

bool CFiExecPipeBase::IsAbortRequested() { return m_abort; }

bool CFiExecPipeBase::IsChildContext() { return false; }

int CFiExecPipeBase::ExecCommandInChildContext(std::string, std::vector<std::string>&) {
  return -1;
}

int CFiExecPipeBase::ExecMain(std::string command, std::vector<std::string>& output,
                              std::string stdinFile, unsigned long timeout, std::string arg5,
                              std::string arg6, std::string arg7) {
  m_argument6 = std::move(arg6);
  m_argument7 = std::move(arg7);
  m_stdinFile = std::move(stdinFile);
  if (IsChildContext()) {
    traceLine(FI_TRACE_DETAIL, "Executing command in child context.");
    return ExecCommandInChildContext(std::move(command), output);
  }
  const int started = ExecPipe(std::move(command), std::move(arg5));
  if (started != FI_EXEC_OK) return started;
  output.clear();
  try {
    if (!collectLines(output, timeout)) return FI_EXEC_TIMED_OUT;
  } catch (const std::bad_alloc&) {
    Close(kCloseTimeout);
    traceLine(FI_TRACE_ERROR, "CFiExecPipeBase::ExecMain ERROR: no memory for the output");
    setLastError("Memory is short for the output", FI_EXEC_WAIT_FAILED);
    return FI_EXEC_WAIT_FAILED;
  }
  return Close(kCloseTimeout);
}

// False after a time-out.
bool CFiExecPipeBase::collectLines(std::vector<std::string>& output, unsigned long timeout) {
  char line[kLineBufferSize];
  std::size_t kept = 0;
  const long silence = static_cast<long>(std::min<unsigned long>(timeout, LONG_MAX));
  while (!IsAbortRequested()) {
    unsigned char timedOut = 0;
    m_lineLength = kUnknownLength;
    const bool isRead = ReadLine(line, kLineBufferSize - 1, &timedOut, silence);
    if (timedOut != 0) {
      char message[100];
      V_snprintf(message, sizeof message, "Process has timmedout (%d sec)",
                 static_cast<int>(timeout));
      traceLine(FI_TRACE_ERROR, "%s", message);
      setLastError(message, FI_EXEC_TIMED_OUT);
      return false;
    }
    if (!isRead) break;
    const std::size_t length = m_lineLength == kUnknownLength ? std::strlen(line) : m_lineLength;
    if (!keepLine({line, length}, output, kept)) break;
  }
  return true;
}

bool CFiExecPipeBase::keepLine(std::string_view line, std::vector<std::string>& output,
                               std::size_t& kept) {
  kept += line.size() + sizeof(std::string);
  if (kept > m_outputLimit) {
    Abort();
    return false;
  }
  output.emplace_back(line);
  return true;
}

int CFiExecPipeBase::Exec(std::string command, std::vector<std::string>& output,
                          std::string stdinFile, unsigned long timeout, std::string arg5,
                          std::string arg6, std::string arg7) {
  const int result = ExecMain(std::move(command), output, std::move(stdinFile), timeout,
                              std::move(arg5), std::move(arg6), std::move(arg7));
  if (m_closeAfterExec) {
    const int closed = Close(kCloseTimeout);
    if (closed != FI_EXEC_OK) {
      traceLine(FI_TRACE_WARNING, "Close of the process returned %d", closed);
    }
  }
  return result;
}

void CFiExecPipeBase::Abort() { m_abort = true; }

void CFiExecPipeBase::Init() {}

void CFiExecPipeBase::setOutputLimit(std::size_t bytes) { m_outputLimit = bytes; }

EFiExecPipe CFiExecPipeBase::getLastError() const {
  try {
    return m_lastError;
  } catch (const std::bad_alloc&) {
    return {{}, {}, m_lastError.code};
  }
}

void CFiExecPipeBase::setLastError(std::string_view message, int code) {
  m_lastError = {{}, {}, code};
  try {
    m_lastError.message = message;
    m_lastError.wideMessage = CFiStringTool::str2wstr(m_lastError.message);
  } catch (const std::bad_alloc&) {
    // The code says what has failed.
  }
}

const std::string& CFiExecPipeBase::getStdinFile() const { return m_stdinFile; }

const std::vector<std::string>& CFiExecPipeBase::getList() const { return m_list; }

const std::string& CFiExecPipeBase::getArgument6() const { return m_argument6; }

const std::string& CFiExecPipeBase::getArgument7() const { return m_argument7; }

void CFiExecPipeBase::setLineLength(std::size_t length) { m_lineLength = length; }

void millisleep(long ms) {
  if (ms < 0) return;
  if (!s_nanosleepMissing) {
    timespec rest{ms / 1000, (ms % 1000) * 1000000};
    while (nanosleep(&rest, &rest) != 0) {
      if (errno == EINTR) continue;
      if (errno != ENOSYS) return;
      s_nanosleepMissing = true;
      break;
    }
    if (!s_nanosleepMissing) return;
  }
  auto seconds = static_cast<unsigned int>((ms + 1000) / 1000);
  while (seconds > 0) seconds = sleep(seconds);
}

}  // namespace orca_pdk_4_4
