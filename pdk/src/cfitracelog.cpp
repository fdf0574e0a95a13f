#include "cfitracelog.h"

#include <ace/ACE.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <new>

#include "V_sscanf.h"
#include "V_strings.h"
#include "cficonfiguration.h"
#include "cfidescriptor.h"
#include "cfierrormgr.h"
#include "cfiretry.h"
#include "cfistringtool.h"
#include "cfitstr.h"

namespace orca_pdk_4_4 {

namespace {

constexpr size_t kFirstSize = 1024;
constexpr size_t kLastSize = 8192;
constexpr size_t kManagerRoom = 255;
constexpr size_t kTimeStampSize = 129;
constexpr size_t kDateSize = 32;
// Room for the fixed part of a text, its numbers and its time stamp.
constexpr size_t kFixedRoom = 512;
constexpr mode_t kFileMode = 0600;
// Lines carry the field of a thread id, always with this number.
constexpr unsigned int kThreadId = 1;
// Verbosities below this one let nothing through.
constexpr int kLowestVerbosity = 9;
constexpr char kProductFolder[] = "/usr/tarn/keystone";
constexpr char kProductFile[] = "kq.conf";
// Stands for a source name that is no path.
constexpr char kScopeHeader[] = "pdk/include/cfitracelog.h";

// Formats into the text and cuts at the length that it had. The arguments stay as they were.
void fill(std::string& text, const char* format, va_list args) ORCA_PDK_PRINTF(2, 0);

void fill(std::string& text, const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  text.resize(static_cast<size_t>(V_vsnprintf(text.data(), text.size() + 1, format, copy)));
  va_end(copy);
}

// A formatted text of at most room bytes.
std::string formatted(size_t room, const char* format, ...) ORCA_PDK_PRINTF(2, 3);

std::string formatted(size_t room, const char* format, ...) {
  std::string text(room, '\0');
  va_list args;
  va_start(args, format);
  fill(text, format, args);
  va_end(args);
  return text;
}

// Prints a formatted text of at most room bytes; nothing when memory is short. Standard output is
// shared with the host: the text leaves in one write, in its place among the rest.
void print(size_t room, const char* format, ...) ORCA_PDK_PRINTF(2, 3);

void print(size_t room, const char* format, ...) {
  std::string text;
  try {
    text.resize(room);
  } catch (const std::bad_alloc&) {
    return;
  }
  va_list args;
  va_start(args, format);
  fill(text, format, args);
  va_end(args);
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

// A trace file, open for the length of a line. The folder may be writable for others, who could lay
// a FIFO, a device, or a second name of some file there: used is only what is plain, has one name
// and belongs to this process's user.
class TraceFile {
 public:
  explicit TraceFile(const char* path)
      : m_file(retryInterrupted([path] { return open(path, kFlags, kFileMode); })) {
    struct stat status = {};
    m_isUsable = m_file.get() >= 0 && fstat(m_file.get(), &status) == 0 &&
                 S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_uid == geteuid();
  }

  bool isUsable() const { return m_isUsable; }

  void append(const std::string& text) {
    size_t done = 0;
    while (m_isUsable && done < text.size()) {
      const ssize_t count = retryInterrupted(
          [&] { return write(m_file.get(), text.data() + done, text.size() - done); });
      if (count <= 0) return;
      done += static_cast<size_t>(count);
    }
  }

 private:
  static constexpr int kFlags =
      O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

  CFiDescriptor m_file;
  bool m_isUsable;
};

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

// An ACE string that gets no memory keeps what it had and says nothing: an assignment that throws.
void store(const tstr& source, tstr& target) {
  tstr copy = makeTstr(CFiStringTool::tstr2str(source));
  target.swap(copy);
}

// The settings of a component, read from its configuration file. The configuration has no trace
// log: its lines would ask for settings again, without end.
class ComponentSettings {
 public:
  explicit ComponentSettings(const tstr& component) {
    tstr dir;
    tstr file;
    CFiConfigurationPathTool::getConfigFileInfo(component, dir, file);
    m_config.importConfig(CFiStringTool::tstr2str(dir).c_str(),
                          CFiStringTool::tstr2str(file).c_str());
  }

  bool open(int create) {
    ACE_Configuration_Section_Key key;
    return m_config.openSection("DEBUG_TRACE_INFO", key, create) == 0;
  }

  // Reads a text; one that is missing stays as it is and is written.
  void readText(const char* key, tstr& value) {
    if (m_config.getStringValue(key, value) == 0) return;
    m_config.setStringValue(key, value);
    m_config.exportConfig();
  }

  // Reads a number; for a missing one the default is written and 0 is the answer.
  unsigned int readNumber(const char* key, int missing) {
    unsigned int value = 0;
    if (m_config.getIntegerValue(key, value) == 0) return value;
    m_config.setIntegerValue(key, static_cast<unsigned int>(missing));
    m_config.exportConfig();
    return 0;
  }

  CFiConfiguration& config() { return m_config; }

 private:
  CFiConfiguration m_config;
};

// A file in pieces, as fgets gives them: each ends with its line, after 254 characters or with the
// file. Without a stream, which would cost as much as opening the file. A FIFO is not waited for.
class Pieces {
 public:
  static constexpr size_t kSize = 255;

  explicit Pieces(const char* path)
      : m_file(retryInterrupted(
            [path] { return open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); })) {}

  bool isOpen() const { return m_file.get() >= 0; }

  bool next(char (&piece)[kSize]) {
    size_t length = 0;
    while (length < kSize - 1 && (m_at < m_end || refill())) {
      piece[length++] = m_block[m_at++];
      if (piece[length - 1] == '\n') break;
    }
    piece[length] = '\0';
    return length > 0;
  }

 private:
  bool refill() {
    m_at = 0;
    m_end = retryInterrupted([this] { return read(m_file.get(), m_block, sizeof(m_block)); });
    return m_end > 0;
  }

  CFiDescriptor m_file;
  ssize_t m_at = 0;
  ssize_t m_end = 0;
  char m_block[4096];
};

// What a settings file says of the verbosity.
struct VerbositySetting {
  explicit VerbositySetting(const char* path) {
    Pieces pieces(path);
    isOpened = pieces.isOpen();
    char piece[Pieces::kSize];
    while (!isExact && pieces.next(piece)) {
      if (std::strstr(piece, "VERBOSE") == nullptr) continue;
      isExact = std::strstr(piece, "FRZCMD_VERBOSE") != nullptr;
      if (isExact || found[0] == '\0') V_strlcpy(found, piece, sizeof(found));
    }
  }

  // 0 when the deciding piece holds a number, which is stored; 26 without a file; else 1.
  int readLevel(int& level) const {
    if (!isOpened) return FI_FILE_ERROR;
    const char* const equals = std::strchr(found, '=');
    const auto size = static_cast<unsigned int>(sizeof(level));
    return equals != nullptr && V_sscanf(equals + 1, "%d", &level, size) == 1 ? 0 : 1;
  }

  bool isOpened;
  bool isExact = false;            // a piece holds the full key
  char found[Pieces::kSize] = "";  // that piece, or the first one with "VERBOSE"
};

}  // namespace

// One message with the time of its line.
struct CFiTraceLog::Line {
  Line(const char* format, va_list args) ORCA_PDK_PRINTF(2, 0) {
    for (size = kFirstSize;; size *= 2) {
      text.assign(size - 1, '\0');
      fill(text, format, args);
      if (text.size() < size - 1 || size == kLastSize) break;
    }
    if (ACE::timestamp(stamp, static_cast<int>(kTimeStampSize), true) == nullptr) {
      V_strlncpy(stamp, "<time error>", kTimeStampSize - 1, kTimeStampSize);
    }
  }

  std::string text;
  size_t size;  // of the buffer that the text needed
  char stamp[kTimeStampSize] = "";
};

CFiTraceLog::CFiTraceLog() = default;

CFiTraceLog::~CFiTraceLog() = default;

void CFiTraceLog::initialize(const tstr& name, tstr dir, tstr file, int level, bool toStdout) {
  static constexpr char kFailed[] = "ERROR: CFiTraceLog: Failed to initialize log settings\n";
  const Day today(std::time(nullptr));
  m_initialized = false;
  m_echo = toStdout;
  try {
    store(name, m_component);
    try {
      initTraceSettings(dir, file, level);
    } catch (...) {
      print(sizeof(kFailed), "%s", kFailed);
    }
    store(file, m_traceFile);
    store(dir, m_traceDir);
    m_level = level;
    setDay(today.stamp);
    if (level != 0) openFirstDay();
  } catch (...) {
    print(sizeof(kFailed), "%s", kFailed);
  }
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

void CFiTraceLog::initTraceSettings(tstr& dir, tstr& file, int& level) {
  if (!dir.empty() && !file.empty()) updateConfigFile(dir, file, level);
  loadFromConfigFile(dir, file, level);
}

int CFiTraceLog::updateConfigFile(const tstr& dir, const tstr& file, const int& level) {
  ComponentSettings settings(m_component);
  CFiConfiguration& config = settings.config();
  if (settings.open(1)) {
    config.setStringValue("TRACEDIR", dir);
    config.setStringValue("TRACEFILE", file);
    config.setIntegerValue("TRACELEVEL", static_cast<unsigned int>(level));
    config.setIntegerValue("TRACESTDOUT", 0);
    config.setIntegerValue("TRACERUNTIMEUPDATE", 0);
  }
  return config.exportConfig();
}

void CFiTraceLog::loadFromConfigFile(tstr& dir, tstr& file, int& level) {
  ComponentSettings settings(m_component);
  CFiConfigurationPathTool::getTraceFileInfo(m_component, dir, file);
  if (!settings.open(0)) {
    updateConfigFile(dir, file, level);
    level = 0;
    return;
  }
  settings.readText("TRACEDIR", dir);
  settings.readText("TRACEFILE", file);
  level = settings.readNumber("TRACELEVEL", level) != 0 ? 1 : 0;
  if (settings.readNumber("TRACESTDOUT", m_echo ? 1 : 0) == 1) m_echo = true;
  if (settings.readNumber("TRACERUNTIMEUPDATE", m_runtimeUpdate ? 1 : 0) == 1) {
    m_runtimeUpdate = true;
  }
}

void CFiTraceLog::updateTraceLevelFromConfigFile() {
  ComponentSettings settings(m_component);
  unsigned int stored = 0;
  if (!settings.open(1)) {
    m_level = 1;
  } else if (settings.config().getIntegerValue("TRACELEVEL", stored) == 0) {
    m_level = static_cast<int>(stored);
  }
}

int CFiTraceLog::getFrzcmdTraceConfigFileInfo(tstr& dir, tstr& file) {
  dir = formatted(kFixedRoom, "%s%s", kProductFolder, "/").c_str();
  file = kProductFile;
  return 0;
}

bool CFiTraceLog::findFrzcmdVerboseValue(std::string& path) {
  const VerbositySetting setting(path.c_str());
  return !setting.isOpened || setting.isExact;
}

int CFiTraceLog::getFrzcmdTraceLevel(tstr& dir, tstr& file, int& level) {
  const std::string path = CFiStringTool::tstr2str(dir) + CFiStringTool::tstr2str(file);
  return VerbositySetting(path.c_str()).readLevel(level);
}

void CFiTraceLog::registerErrorManager(CFiErrorManager* manager) { m_errorManager = manager; }

bool CFiTraceLog::isInitialized() const { return m_initialized; }

int CFiTraceLog::getLevel() const { return m_level; }

const tstr& CFiTraceLog::getTracePath() const { return m_tracePath; }

int CFiTraceLog::readVerbosity() {
  // Never destroyed: objects trace until the very end of the process.
  static const std::string& path =
      (new std::string(kProductFolder))->append("/").append(kProductFile);
  int verbosity = -1;
  VerbositySetting(path.c_str()).readLevel(verbosity);
  return verbosity;
}

bool CFiTraceLog::isWritten(int level, int verbosity) const {
  return level <= m_level || (verbosity >= kLowestVerbosity && level <= verbosity);
}

void CFiTraceLog::traceNow(int level, const char* format, va_list args) {
  const std::time_t now = std::time(nullptr);
  const int verbosity = readVerbosity();
  if (m_runtimeUpdate) updateTraceLevelFromConfigFile();
  if (format == nullptr || *format == '\0' || !m_initialized) return;
  const bool written = isWritten(level, verbosity);
  if (!written && m_errorManager == nullptr) return;
  const Line line(format, args);
  if (written) writeLine(line, now);
  if (m_errorManager != nullptr) pushToErrorManager(line, level);
}

void CFiTraceLog::openFirstDay() {
  RemoveSymbolicLink(m_tracePath.c_str());
  if (!TraceFile(m_tracePath.c_str()).isUsable()) {
    const size_t names = m_tracePath.length() + m_traceFile.length() + m_traceDir.length();
    print(kFixedRoom + names,
          "[CFiTraceLog] Error: Tracefile [%s] initialization failed.[%s][%s]\n",
          m_tracePath.c_str(), m_traceFile.c_str(), m_traceDir.c_str());
    return;
  }
  updateTraceLevelFromConfigFile();
  m_initialized = true;
}

void CFiTraceLog::setDay(const char* stamp) {
  tstr day = makeTstr(stamp);
  tstr path = makeTstr(CFiStringTool::tstr2str(m_traceDir) + "/" +
                       CFiStringTool::tstr2str(m_traceFile) + "." + stamp);
  m_dateStamp.swap(day);
  m_tracePath.swap(path);
}

void CFiTraceLog::writeLine(const Line& line, std::time_t now) {
  const Day today(now);
  if (std::strcmp(today.stamp, m_dateStamp.c_str()) != 0) {
    setDay(today.stamp);
    RemoveSymbolicLink(m_tracePath.c_str());
  }
  const auto pid = static_cast<unsigned long>(getpid());
  const size_t room = kFixedRoom + line.text.size();
  TraceFile(m_tracePath.c_str())
      .append(formatted(room, "%s <Pid - %lu / Thread id - %u> %s\n", line.stamp, pid, kThreadId,
                        line.text.c_str()));
  if (m_echo) {
    print(room + m_component.length(), "%s:%s <Pid - %lu / Thread id - %u> %s\n",
          m_component.c_str(), line.stamp, pid, kThreadId, line.text.c_str());
  }
}

void CFiTraceLog::pushToErrorManager(const Line& line, int level) {
  const bool isRoomy = line.size - line.text.size() > kManagerRoom;
  const size_t size = isRoomy ? line.size : line.size + kManagerRoom + 1;
  std::string text = formatted(size - 1, "%s:%s <Thread id - %u> %s\n", m_component.c_str(),
                               line.stamp, kThreadId, line.text.c_str());
  m_errorManager->pushError(text.data(), severityOf(level));
}

CFiTraceLogFunction::CFiTraceLogFunction(const CFiTraceLogPtr& log, const char* function, int line,
                                         const char* file)
    : m_log(log), m_function(function), m_line(line), m_file(file) {
  if (m_file != nullptr) {
    const char* const slash = std::strrchr(m_file, '/');
    m_file = slash != nullptr ? slash + 1 : kScopeHeader;
  }
  if (m_log && m_function != nullptr && m_file != nullptr) {
    m_log->trace(FI_TRACE_DETAIL, "Entering Function %s [%d, %s]", m_function, m_line, m_file);
  }
}

CFiTraceLogFunction::~CFiTraceLogFunction() {
  if (!m_log || m_function == nullptr || m_file == nullptr) return;
  if (m_line != 0) {
    m_log->trace(FI_TRACE_DETAIL, "Exiting Function %s [%d, %s]", m_function, m_line, m_file);
  } else {
    m_log->trace(FI_TRACE_DETAIL, "Exiting Function %s", m_function);
  }
}

bool IsSymbolicLink(const char* path) {
  const char* const name = path != nullptr ? path : "";
  struct stat status = {};
  if (lstat(name, &status) == 0) return S_ISLNK(status.st_mode);
  print(kFixedRoom + std::strlen(name), "Failed to lstat %s\n", name);
  return false;
}

void RemoveSymbolicLink(const char* path) {
  if (!IsSymbolicLink(path)) return;
  print(kFixedRoom + std::strlen(path), "A symbolic link with the name %s exists.Removing link\n",
        path);
  if (unlink(path) != 0) print(kFixedRoom, "Failed to unlink trace file");
}

template class CFiContextSingletonAllocator<CFiTraceLog>;

}  // namespace orca_pdk_4_4
