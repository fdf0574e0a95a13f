// Imports fuzzed registry files, reads the same bytes as the product's settings file, and checks
// that a value that the store accepts reads back from the file as it was.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "cficonfiguration.h"
#include "cfitracelog.h"

namespace {

using namespace orca_pdk_4_4;

// A folder that lasts as long as the run.
struct Folder {
  Folder() {
    if (mkdtemp(path) == nullptr) abort();
    dir = std::string(path) + "/";
  }
  ~Folder() { std::filesystem::remove_all(path); }
  char path[32] = "/tmp/orca-fuzz-XXXXXX";
  std::string dir;
};

void write(const std::string& path, const uint8_t* data, size_t size) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

void walk(const std::string& dir) {
  CFiConfiguration config(dir.c_str(), "in.conf", true);
  for (const tstr& name : config.enumerateSections(config.configHeap().root_section())) {
    ACE_Configuration_Section_Key key;
    if (config.openSection(name.c_str(), key, 0) != 0) continue;
    for (const tstr& inner : config.enumerateSections())
      config.openSection(key, inner.c_str(), key, 0);
  }
  config.exportConfig();
  config.importConfig(dir.c_str(), "in.conf");
}

// A section, a value name and a value, one a line: all that is accepted is read back.
void checkRoundTrip(const std::string& dir, const std::string& text) {
  const size_t first = std::min(text.find('\n'), text.size());
  const size_t second = std::min(text.find('\n', first + 1), text.size());
  const std::string section = text.substr(0, first);
  const std::string name =
      text.substr(std::min(first + 1, second), second - std::min(first + 1, second));
  const std::string value = text.substr(std::min(second + 1, text.size()));
  CFiConfiguration config(dir.c_str(), "out.conf", false);
  ACE_Configuration_Section_Key key;
  if (section.find('/') != std::string::npos) return;  // read back as a separator
  if (config.openSection(section.c_str(), key, 1) != 0) return;
  if (name.empty() || config.setStringValue(name.c_str(), value.c_str()) != 0) return;
  if (config.exportConfig() != 0) abort();
  CFiConfiguration again(dir.c_str(), "out.conf", true);
  tstr read("-");
  if (again.openSection(section.c_str(), key, 0) != 0) abort();
  if (again.getStringValue(name.c_str(), read) != 0 || read != value.c_str()) abort();
}

void readAsProductSettings(const std::string& dir) {
  CFiTraceLog log;
  std::string path = dir + "in.conf";
  tstr folder(dir.c_str()), file("in.conf");
  int level = 0;
  const bool isExact = log.findFrzcmdVerboseValue(path);
  const int result = log.getFrzcmdTraceLevel(folder, file, level);
  if (result != 0 && (result != 1 || level != 0)) abort();
  if (isExact && std::filesystem::file_size(path) == 0) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Folder folder;
  // ACE's importer doubles its buffer for each line with one, until it overflows.
  if (std::count(data, data + size, 0) > 8) return 0;
  write(folder.dir + "in.conf", data, size);
  readAsProductSettings(folder.dir);
  walk(folder.dir);
  checkRoundTrip(folder.dir, std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
