#ifndef ORCA_PDK_CFICONFIGURATION_H
#define ORCA_PDK_CFICONFIGURATION_H

#include <ace/Configuration.h>

#include <set>
#include <string>
#include <vector>

#include "cficredentials.h"
#include "cfiexport.h"
#include "cfilasterror.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// A provider's configuration store: an in-memory heap of sections and values, filled from a file in
// registry format and written back to it. Value operations without a section address the current
// section, which every successful openSection moves.
//
// Results are 0 for success unless said otherwise, -1 for a null name or a heap that could not be
// opened; failures of opening and importing also fill the last error record. What would not read
// back from the file is refused with -1: values with a line break or a NUL, section names with a
// line break, brackets, an empty level or more than 100 levels (they are separated by backslashes,
// and by slashes when a file is read), value names that are empty or hold a bracket, a backslash, a
// double quote or a line break. Short memory throws std::bad_alloc where nothing else is said.
//
// A configuration that the trace log itself reads has no trace log of its own.
//
// Threads: one at a time.
class ORCA_PDK_API CFiConfiguration : public virtual CFiLastError, public virtual CFiTraceable {
 public:
  // An empty store.
  CFiConfiguration();
  // Opens the heap and imports the file (import true), or only keeps directory and file name.
  CFiConfiguration(const char* path, const char* file, bool import);
  // The configuration of that name at its usual place. A file that is missing is made; one that
  // cannot be imported is replaced, as exportConfig does, by one with what could be read of it.
  // Never throws.
  explicit CFiConfiguration(const tstr& name);
  ~CFiConfiguration() override;

  // The heap; it lives as long as the store. Its operations need a heap that could be opened.
  ACE_Configuration_Heap& configHeap();

  // Imports a file into the heap: directory and file name are joined with nothing between them,
  // null counts as empty. -1 when the directory or the file is missing or no regular file, else the
  // importer's code: -3 for a section line without "]" or with more than 100 levels. What stood
  // before a malformed line stays imported; a last line without a newline is not read.
  int importConfig(const char* path, const char* file);
  // Writes the whole heap to the file, which it replaces as a whole, owner, group and mode kept; a
  // code below 0 when that fails, the file then as it was. A file that could not be imported is
  // kept before as "<file>.rejected", mode 0600, in place of the last one that was. Values outside
  // any section are not written.
  int exportConfig();

  // Opens a section below base, or below the root, and makes it the current one; with create
  // non-zero a missing section is made.
  int openSection(const ACE_Configuration_Section_Key& base, const char* name,
                  ACE_Configuration_Section_Key& out, int create);
  int openSection(const char* name, ACE_Configuration_Section_Key& out, int create);

  // Values of the current section. A missing value leaves the output alone.
  int getStringValue(const char* name, tstr& value);
  int setStringValue(const char* name, const tstr& value);
  int getIntegerValue(const char* name, unsigned int& value);
  int setIntegerValue(const char* name, unsigned int value);

  // Values of a section below the root, which is made when it is missing and stays the current one.
  int getStringValue(const char* section, const char* name, tstr& value);
  int getIntegerValue(const char* section, const char* name, unsigned int& value);

  // Names of the sub-sections of a section, in no particular order.
  std::vector<tstr> enumerateSections(const ACE_Configuration_Section_Key& key);
  std::vector<tstr> enumerateSections();

  // Array credentials: those of the framework's credential text first, then those of the
  // sub-sections of a section below the root whose host is not yet among them. openArray selects
  // the kind of array as in CFiCredentialsParser::parse.
  std::vector<SFiCredential> importCredentials(std::string vendor, std::string product,
                                               tstr section, bool openArray);

 private:
  // Refuses sections nested too deep: opening all levels of one costs the square of their number.
  class Heap : public ACE_Configuration_Heap {
   public:
    int open_section(const ACE_Configuration_Section_Key& base, const ACE_TCHAR* name, bool create,
                     ACE_Configuration_Section_Key& result) override;
  };

  void openHeap();
  void setLocation(const char* path, const char* file);
  int fail(int code, const char* message, int line, const char* function);
  int importFile();
  void importSections(const ACE_Configuration_Section_Key& key, bool openArray,
                      std::vector<SFiCredential>& result);
  void importSection(const ACE_Configuration_Section_Key& base, const tstr& name, bool openArray,
                     std::set<std::string>& hosts, std::vector<SFiCredential>& result);
  void importRecord(std::set<std::string>& hosts, std::vector<SFiCredential>& result);

  Heap m_heap;
  tstr m_configPath;
  tstr m_configFile;
  tstr m_configFullPath;
  ACE_Configuration_Section_Key m_currentSection;
  bool m_opened = false;
  bool m_isRejected = false;  // the file is there but could not be imported
};

// Where the system keeps its files. Operations that answer with a directory make it when it is
// missing (one level only, mode 0755); a directory that cannot be made is not reported. Directories
// end in "/". Short memory throws std::bad_alloc.
//
// Threads: no state; safe from any thread.
class ORCA_PDK_API CFiConfigurationPathTool {
 public:
  // 0 when the path exists, else -1.
  static int verify(const char* path);
  // The install root, "/usr/tarn" when the framework names none. Returns 0.
  static int getInstallPath(tstr& out);
  // The cache directory. Returns 0.
  static int getCacheLocationInfo(tstr& dir);
  // Path of the LUN cache file of a device. Returns 0, or -1 when the enclosure's directory had to
  // be made; the key is valid in both cases. A malformed UDID, or one that would lead out
  // of the cache directory, throws CFiUdidException, key then as it was.
  static int getLunKey(const tstr& udid, tstr& key);
  // The same for the device-handle file.
  static int getDevKey(const tstr& udid, tstr& key);
  // Directory and file name of a message catalog. Returns 0.
  static int getMessageFileInfo(const tstr& name, tstr& dir, tstr& file);
  // Directory and file name of a configuration file. Returns 0.
  static int getConfigFileInfo(const tstr& name, tstr& dir, tstr& file);
  // Directory and file name of a trace file; the directory is fixed. Returns 0.
  static int getTraceFileInfo(const tstr& name, tstr& dir, tstr& file);
};

}  // namespace orca_pdk_4_4

#endif
