#ifndef ORCA_PDK_CFITRACELOG_H
#define ORCA_PDK_CFITRACELOG_H

#include <cstdarg>
#include <ctime>
#include <string>

#include "cfiexport.h"
#include "cfirefcount.h"
#include "cfismartptr.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

class CFiErrorManager;

// The trace log of a provider process. Its settings live in section "DEBUG_TRACE_INFO" of the
// component's configuration file; it writes one file a day, opened and closed for every line, and
// takes changed settings up with the next line. What goes wrong is printed on standard output, and
// tracing carries on or stays silent: initialize, trace and scopes throw nothing, also when memory
// is short. The operations on settings throw std::bad_alloc then.
//
// A trace file is used only when it is a plain file with one name that belongs to the process's
// user; anything else counts as a file that cannot be opened, and its lines are lost.
//
// Threads: no lock. Lines of several processes interleave whole.
class ORCA_PDK_API CFiTraceLog : public virtual CFiRefCount {
 public:
  // Uninitialised: nothing is written until initialize succeeded.
  CFiTraceLog();
  ~CFiTraceLog() override;

  // Names the component, loads its settings and opens today's file. dir and file, when both are
  // given, replace the stored settings; else the stored ones or the defaults hold. level is stored
  // where no level is stored yet; 0 leaves the log off. toStdout echoes each written line.
  void initialize(const tstr& name, tstr dir, tstr file, int level, bool toStdout);

  // Writes one line, formatted with printf rules and cut after 8191 bytes, when its level is at
  // most the configured one or the product's verbosity (9 and above) lets it through. The error
  // manager receives every line, also one that is not written.
  void trace(int level, const char* format, ...) ORCA_PDK_PRINTF(3, 4);
  // The same with an argument list, which is left as it was.
  void vtrace(int level, const char* format, va_list args) ORCA_PDK_PRINTF(3, 0);

  // Settings handling, in the order in which initialize uses it. dir, file and level come in as the
  // caller's wishes and go out as what holds.
  void initTraceSettings(tstr& dir, tstr& file, int& level);
  // Writes all five settings; returns the result of the export, 0 for success.
  int updateConfigFile(const tstr& dir, const tstr& file, const int& level);
  // Reads the settings and writes those that are missing. The level goes out as 0 (off) or 1 (on).
  void loadFromConfigFile(tstr& dir, tstr& file, int& level);
  // Takes the stored level over.
  void updateTraceLevelFromConfigFile();

  // Directory and name of the product's settings file. Returns 0.
  int getFrzcmdTraceConfigFileInfo(tstr& dir, tstr& file);
  // True when a line of the file holds "FRZCMD_VERBOSE", and when the file cannot be opened.
  bool findFrzcmdVerboseValue(std::string& path);
  // Reads the product's verbosity from a settings file. 0 when level was set, 26 when the file
  // cannot be opened, else 1. A FIFO is not waited for: it counts as an empty file.
  int getFrzcmdTraceLevel(tstr& dir, tstr& file, int& level);

  // Every traced line goes to this manager too; null detaches it. Not owned: the manager must
  // outlive the log or be detached.
  void registerErrorManager(CFiErrorManager* manager);
  // True once the trace file could be opened.
  bool isInitialized() const;
  // The level up to which lines are written.
  int getLevel() const;
  // Path of the trace file of the last written line, or of today's after initialize.
  const tstr& getTracePath() const;

 private:
  struct Line;

  int readVerbosity();
  bool isWritten(int level, int verbosity) const;
  void traceNow(int level, const char* format, va_list args) ORCA_PDK_PRINTF(3, 0);
  void openFirstDay();
  void setDay(const char* stamp);
  void writeLine(const Line& line, std::time_t now);
  void pushToErrorManager(const Line& line, int level);

  tstr m_component;
  tstr m_traceFile;
  tstr m_traceDir;
  tstr m_tracePath;
  tstr m_dateStamp;
  bool m_initialized = false;
  bool m_echo = false;
  bool m_runtimeUpdate = false;
  int m_level = 12345;
  CFiErrorManager* m_errorManager = nullptr;
};

// True when the path itself is a symbolic link. Prints a line when the path cannot be examined.
ORCA_PDK_API bool IsSymbolicLink(const char* path);
// Removes the path when it is a symbolic link, and says so on standard output.
ORCA_PDK_API void RemoveSymbolicLink(const char* path);

// Scope of one operation: writes an entry line at once and an exit line at its end.
//
//   CFiTraceLogFunction scope(getTraceLog(), "make", __LINE__, "../myprovider");
class ORCA_PDK_API CFiTraceLogFunction {
 public:
  // function and file are not copied: both must outlive the scope (literals do). Of file the part
  // after the last "/" is written; a name without "/" is replaced by "pdk/include/cfitracelog.h".
  // An empty log or a null name writes nothing. With line 0 the exit line names the function only.
  CFiTraceLogFunction(const CFiTraceLogPtr& log, const char* function, int line, const char* file);
  virtual ~CFiTraceLogFunction();
  CFiTraceLogFunction(const CFiTraceLogFunction&) = delete;
  CFiTraceLogFunction& operator=(const CFiTraceLogFunction&) = delete;

 private:
  CFiTraceLogPtr m_log;
  const char* m_function;
  int m_line;
  const char* m_file;
};

extern template class CFiContextSingletonAllocator<CFiTraceLog>;

}  // namespace orca_pdk_4_4

#endif
