#include <fiutil.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>

#include "cficonfiguration.h"
#include "cfistringtool.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr mode_t kDirectoryMode = 0755;

struct BufferReturner {
  void operator()(char* text) const { orca_free_buf(text, std::strlen(text) + 1); }
};

// Answers whether the directory was there, as verify does, and makes it when it was not.
int verifyOrMake(const tstr& dir) {
  const int result = CFiConfigurationPathTool::verify(dir.c_str());
  if (result != 0) static_cast<void>(mkdir(dir.c_str(), kDirectoryMode));
  return result;
}

int getDirectory(const char* suffix, tstr& dir) {
  CFiConfigurationPathTool::getInstallPath(dir);
  dir += suffix;
  verifyOrMake(dir);
  return 0;
}

// The text becomes a file name and its enclosure field a directory name; neither may name a place
// elsewhere.
void checkFileName(const std::string& text, const std::string& enclosure) {
  const bool leavesDirectory = text.find('/') != std::string::npos ||
                               text.find('\0') != std::string::npos || enclosure == "." ||
                               enclosure == "..";
  if (leavesDirectory) throw CFiUdidException(text, FI_UDID_UNSAFE_FIELD);
}

// udid and key may be the same object.
int getDeviceKey(tstr udid, const char* kind, tstr& key) {
  CFiConfigurationPathTool::getCacheLocationInfo(key);
  key += kind;
  verifyOrMake(key);
  const std::string enclosure = CFiUdid(udid).getEnclosure();
  checkFileName(CFiStringTool::tstr2str(udid), enclosure);
  key += CFiStringTool::str2tstr(enclosure + "/");
  const int result = verifyOrMake(key);
  key += udid;
  return result;
}

}  // namespace

int CFiConfigurationPathTool::verify(const char* path) {
  return path != nullptr ? access(path, F_OK) : -1;
}

int CFiConfigurationPathTool::getInstallPath(tstr& out) {
  char* text = nullptr;
  orca_get_install_root(&text);
  const std::unique_ptr<char, BufferReturner> root(text);
  out = root != nullptr ? root.get() : "/usr/tarn";
  return 0;
}

int CFiConfigurationPathTool::getCacheLocationInfo(tstr& dir) {
  return getDirectory("/lib/orca/cachefiles/", dir);
}

int CFiConfigurationPathTool::getLunKey(const tstr& udid, tstr& key) {
  return getDeviceKey(udid, "luns/", key);
}

int CFiConfigurationPathTool::getDevKey(const tstr& udid, tstr& key) {
  return getDeviceKey(udid, "devHandle/", key);
}

int CFiConfigurationPathTool::getMessageFileInfo(const tstr& name, tstr& dir, tstr& file) {
  file = tstr("lib") + name;
  return getDirectory("/resources/", dir);
}

int CFiConfigurationPathTool::getConfigFileInfo(const tstr& name, tstr& dir, tstr& file) {
  file = name + ".conf";
  return getDirectory("/lib/orca/configfiles/", dir);
}

int CFiConfigurationPathTool::getTraceFileInfo(const tstr& name, tstr& dir, tstr& file) {
  file = name + ".log";
  getInstallPath(dir);
  // Trace files of all install roots are gathered in one place.
  dir = "/usr/tarn/keystone/logs/frzcmd/";
  verifyOrMake(dir);
  return 0;
}

}  // namespace orca_pdk_4_4
