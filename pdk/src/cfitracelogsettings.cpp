#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "V_sscanf.h"
#include "V_strings.h"
#include "cficonfiguration.h"
#include "cfidescriptor.h"
#include "cfiretry.h"
#include "cfitracelog.h"

namespace orca_pdk_4_4 {

namespace {

// The settings of a component, read from its configuration file. The configuration has no trace
// log: its lines would ask for settings again, without end.
class ComponentSettings {
 public:
  explicit ComponentSettings(const tstr& component) {
    tstr dir;
    tstr file;
    CFiConfigurationPathTool::getConfigFileInfo(component, dir, file);
    m_config.importConfig(dir.c_str(), file.c_str());
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

// Looks for the verbosity in the product's settings, which arrive in blocks of any size. Lines are
// taken in pieces of at most 254 characters, and a piece ends for the search at its first NUL.
class VerbosityScan {
 public:
  // False once the rest of the file no longer matters.
  bool feed(const char* data, size_t size) {
    while (size > 0 && !m_isExact) {
      const size_t window = std::min(size, kPieceLength - m_length);
      const void* const lineFeed = std::memchr(data, '\n', window);
      const size_t count = lineFeed == nullptr
                               ? window
                               : static_cast<size_t>(static_cast<const char*>(lineFeed) - data) + 1;
      std::memcpy(m_piece + m_length, data, count);
      m_length += count;
      data += count;
      size -= count;
      if (lineFeed != nullptr || m_length == kPieceLength) endPiece();
    }
    return !m_isExact;
  }

  // The end of the file ends its last line.
  void finish() {
    if (!m_isExact && m_length > 0) endPiece();
  }

  // True when a piece held the full key.
  bool isExact() const { return m_isExact; }

  // 0 when the deciding piece holds a number, which is stored; else 1.
  int readLevel(int& level) const {
    const char* const equals = std::strchr(m_found, '=');
    if (equals == nullptr) return 1;
    return V_sscanf(equals + 1, "%d", &level, static_cast<unsigned int>(sizeof(level))) == 1 ? 0
                                                                                             : 1;
  }

 private:
  static constexpr size_t kPieceLength = 254;

  // The first piece with the full key decides, without any the first one with the short key, which
  // is part of the full one.
  void endPiece() {
    m_piece[m_length] = '\0';
    m_length = 0;
    if (std::strstr(m_piece, "VERBOSE") == nullptr) return;
    m_isExact = std::strstr(m_piece, "FRZCMD_VERBOSE") != nullptr;
    if (m_isExact || m_found[0] == '\0') std::memcpy(m_found, m_piece, sizeof(m_found));
  }

  char m_piece[kPieceLength + 1] = "";
  char m_found[kPieceLength + 1] = "";
  size_t m_length = 0;
  bool m_isExact = false;
};

// False when the file cannot be opened. A read that fails ends the file; the line it broke is lost.
bool scanFile(const char* path, VerbosityScan& scan) {
  const CFiDescriptor file(retryInterrupted([path] { return open(path, O_RDONLY | O_CLOEXEC); }));
  if (file.get() < 0) return false;
  char block[4096];
  ssize_t count = 0;
  do {
    count = retryInterrupted([&] { return read(file.get(), block, sizeof(block)); });
  } while (count > 0 && scan.feed(block, static_cast<size_t>(count)));
  if (count == 0) scan.finish();
  return true;
}

int readLevel(const char* path, int& level) {
  VerbosityScan scan;
  return scanFile(path, scan) ? scan.readLevel(level) : FI_FILE_ERROR;
}

}  // namespace

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
  char path[1025];
  V_snprintf(path, sizeof(path), "%s%s", "/usr/tarn/keystone", "/");
  dir = path;
  file = "kq.conf";
  return 0;
}

bool CFiTraceLog::findFrzcmdVerboseValue(std::string& path) {
  VerbosityScan scan;
  return !scanFile(path.c_str(), scan) || scan.isExact();
}

int CFiTraceLog::getFrzcmdTraceLevel(tstr& dir, tstr& file, int& level) {
  return readLevel((dir + file).c_str(), level);
}

int CFiTraceLog::readVerbosity() {
  // Never destroyed: objects trace until the very end of the process.
  static const tstr* const path = [this] {
    tstr dir;
    tstr file;
    getFrzcmdTraceConfigFileInfo(dir, file);
    return new tstr(dir + file);
  }();
  int verbosity = -1;
  readLevel(path->c_str(), verbosity);
  return verbosity;
}

}  // namespace orca_pdk_4_4
