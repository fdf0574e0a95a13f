#include "cfitracelog.h"

#include <ace/ACE.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "V_strings.h"
#include "cfidescriptor.h"
#include "cfierrormgr.h"
#include "cfiretry.h"

namespace orca_pdk_4_4 {

namespace {

constexpr size_t kFirstSize = 1024;
constexpr size_t kLastSize = 8192;
constexpr size_t kManagerRoom = 255;
constexpr size_t kTimeStampSize = 129;
constexpr size_t kDateSize = 32;
constexpr mode_t kFileMode = 0600;
// Lines carry the field of a thread id, always with this number.
constexpr unsigned int kThreadId = 1;
// Verbosities below this one let nothing through.
constexpr int kLowestVerbosity = 9;

// A formatted text of at most room bytes.
std::string formatted(size_t room, const char* format, ...) ORCA_PDK_PRINTF(2, 3);

std::string formatted(size_t room, const char* format, ...) {
  std::string text(room, '\0');
  va_list args;
  va_start(args, format);
  const int length = V_vsnprintf(text.data(), room + 1, format, args);
  va_end(args);
  text.resize(static_cast<size_t>(length));
  return text;
}

// Standard output is shared with the host: a text leaves in one write, in its place among the rest.
void print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

// The files of a day carry its date with a year of two digits.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-y2k"
struct Day {
  explicit Day(std::time_t now) {
    std::tm parts{};
    if (localtime_r(&now, &parts) != nullptr) std::strftime(stamp, sizeof(stamp), "%m%d%y", &parts);
  }

  char stamp[kDateSize] = "";
};
#pragma GCC diagnostic pop

int openForAppend(const char* path) {
  return retryInterrupted([path] {
    return open(path, O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kFileMode);
  });
}

void appendText(const char* path, const std::string& text) {
  const CFiDescriptor file(openForAppend(path));
  size_t done = 0;
  while (file.get() >= 0 && done < text.size()) {
    const ssize_t count =
        retryInterrupted([&] { return write(file.get(), text.data() + done, text.size() - done); });
    if (count <= 0) return;
    done += static_cast<size_t>(count);
  }
}

// The buffer size of the next attempt; the same size when the text fits.
size_t nextSize(int result, size_t size) {
  const size_t length = static_cast<size_t>(result);
  if (result < 0 || length == size || length == size - 1) return 2 * size;
  return length > size ? length + 2 : size;
}

pyx_eseverity severityOf(int level) {
  switch (level) {
    case FI_TRACE_ERROR:
      return PYX_SEV_ERROR;
    case FI_TRACE_WARNING:
      return PYX_SEV_WARNING;
    case FI_TRACE_INFO:
      return PYX_SEV_INFO;
    default:
      return PYX_SEV_DETAIL;
  }
}

}  // namespace

// One message with the time of its line. Without text when memory is short.
struct CFiTraceLog::Line {
  Line(const char* format, va_list args) ORCA_PDK_PRINTF(2, 0) {
    grow(format, args);
    if (ACE::timestamp(stamp, static_cast<int>(kTimeStampSize), true) == nullptr) {
      V_strlncpy(stamp, "<time error>", kTimeStampSize - 1, kTimeStampSize);
    }
  }
  ~Line() { std::free(buffer); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  void grow(const char* format, va_list args) ORCA_PDK_PRINTF(2, 0) {
    size_t wanted = kFirstSize;
    while (wanted != size && wanted <= kLastSize) {
      if (V_dumb_realloc(&buffer, wanted) == nullptr) return;
      size = wanted;
      va_list attempt;
      va_copy(attempt, args);
      wanted = nextSize(V_vsnprintf(static_cast<char*>(buffer), size, format, attempt), size);
      va_end(attempt);
    }
  }

  const char* text() const { return static_cast<const char*>(buffer); }

  void* buffer = nullptr;
  size_t size = 0;
  char stamp[kTimeStampSize] = "";
};

CFiTraceLog::CFiTraceLog() = default;
CFiTraceLog::~CFiTraceLog() = default;

void CFiTraceLog::initialize(const tstr& name, tstr dir, tstr file, int level, bool toStdout) {
  const Day today(std::time(nullptr));
  m_initialized = false;
  m_component = name;
  m_echo = toStdout;
  try {
    initTraceSettings(dir, file, level);
  } catch (...) {
    print("ERROR: CFiTraceLog: Failed to initialize log settings\n");
  }
  m_traceFile = file;
  m_traceDir = dir;
  m_level = level;
  setDay(today.stamp);
  if (level != 0) openFirstDay();
}

void CFiTraceLog::openFirstDay() {
  RemoveSymbolicLink(m_tracePath.c_str());
  const CFiDescriptor file(openForAppend(m_tracePath.c_str()));
  if (file.get() < 0) {
    static constexpr char kFormat[] =
        "[CFiTraceLog] Error: Tracefile [%s] initialization failed.[%s][%s]\n";
    const size_t names = m_tracePath.length() + m_traceFile.length() + m_traceDir.length();
    print(formatted(sizeof(kFormat) + names, kFormat, m_tracePath.c_str(), m_traceFile.c_str(),
                    m_traceDir.c_str()));
    return;
  }
  m_initialized = true;
  updateTraceLevelFromConfigFile();
}

void CFiTraceLog::setDay(const char* stamp) {
  m_dateStamp = stamp;
  m_tracePath = m_traceDir;
  m_tracePath += "/";
  m_tracePath += m_traceFile;
  m_tracePath += ".";
  m_tracePath += m_dateStamp;
}

void CFiTraceLog::trace(int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vtrace(level, format, args);
  va_end(args);
}

void CFiTraceLog::vtrace(int level, const char* format, va_list args) {
  try {
    traceNow(level, format, args);
  } catch (...) {
    // Tracing never ends the operation that is traced.
  }
}

void CFiTraceLog::traceNow(int level, const char* format, va_list args) {
  const std::time_t now = std::time(nullptr);
  const int verbosity = readVerbosity();
  if (m_runtimeUpdate) updateTraceLevelFromConfigFile();
  if (format == nullptr || *format == '\0' || !m_initialized) return;
  const bool written = isWritten(level, verbosity);
  if (!written && m_errorManager == nullptr) return;
  const Line line(format, args);
  if (line.text() == nullptr) return;
  if (written) writeLine(line, now);
  if (m_errorManager != nullptr) pushToErrorManager(line, level);
}

bool CFiTraceLog::isWritten(int level, int verbosity) const {
  return level <= m_level || (verbosity >= kLowestVerbosity && level <= verbosity);
}

void CFiTraceLog::writeLine(const Line& line, std::time_t now) {
  const Day today(now);
  if (std::strcmp(today.stamp, m_dateStamp.c_str()) != 0) {
    setDay(today.stamp);
    RemoveSymbolicLink(m_tracePath.c_str());
  }
  const auto pid = static_cast<unsigned long>(getpid());
  const size_t room = 2 * kTimeStampSize + std::strlen(line.text());
  appendText(m_tracePath.c_str(), formatted(room, "%s <Pid - %lu / Thread id - %u> %s\n",
                                            line.stamp, pid, kThreadId, line.text()));
  if (m_echo) {
    print(formatted(room + m_component.length(), "%s:%s <Pid - %lu / Thread id - %u> %s\n",
                    m_component.c_str(), line.stamp, pid, kThreadId, line.text()));
  }
}

void CFiTraceLog::pushToErrorManager(const Line& line, int level) {
  const bool isRoomy = line.size - std::strlen(line.text()) > kManagerRoom;
  const size_t size = isRoomy ? line.size : line.size + kManagerRoom + 1;
  const std::unique_ptr<char[]> text(new (std::nothrow) char[size]);
  if (text == nullptr) return;
  V_snprintf(text.get(), size, "%s:%s <Thread id - %u> %s\n", m_component.c_str(), line.stamp,
             kThreadId, line.text());
  m_errorManager->pushError(text.get(), severityOf(level));
}

void CFiTraceLog::registerErrorManager(CFiErrorManager* manager) { m_errorManager = manager; }

bool CFiTraceLog::isInitialized() const { return m_initialized; }

int CFiTraceLog::getLevel() const { return m_level; }

const tstr& CFiTraceLog::getTracePath() const { return m_tracePath; }

bool IsSymbolicLink(const char* path) {
  const char* const name = path != nullptr ? path : "";
  struct stat status = {};
  if (lstat(name, &status) == 0) return S_ISLNK(status.st_mode);
  static constexpr char kFormat[] = "Failed to lstat %s\n";
  print(formatted(sizeof(kFormat) + std::strlen(name), kFormat, name));
  return false;
}

void RemoveSymbolicLink(const char* path) {
  if (!IsSymbolicLink(path)) return;
  static constexpr char kFormat[] = "A symbolic link with the name %s exists.Removing link\n";
  print(formatted(sizeof(kFormat) + std::strlen(path), kFormat, path));
  if (unlink(path) != 0) print("Failed to unlink trace file");
}

template class CFiContextSingletonAllocator<CFiTraceLog>;

}  // namespace orca_pdk_4_4
