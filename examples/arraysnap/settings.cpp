#include "settings.h"

#include <cfistringtool.h>

#include <algorithm>
#include <filesystem>

#include "failure.h"

namespace arraysnap {

using namespace orca_pdk;

namespace {

constexpr char kDefaultPattern[] = "UDID##FIARRAY##";

// Values of the current section.
std::string text(CFiConfiguration& store, const char* name, const std::string& otherwise) {
  tstr value;
  return store.getStringValue(name, value) == 0 ? CFiStringTool::tstr2str(value) : otherwise;
}

std::optional<unsigned> number(CFiConfiguration& store, const char* name) {
  unsigned value = 0;
  return store.getIntegerValue(name, value) == 0 ? std::optional(value) : std::nullopt;
}

// The sub-sections of FIMS, one a FIM.
std::map<std::string, SFiFimInfo> fimsIn(CFiConfiguration& store) {
  std::map<std::string, SFiFimInfo> fims;
  ACE_Configuration_Section_Key all;
  store.openSection("FIMS", all, 1);
  for (const tstr& name : store.enumerateSections(all)) {
    ACE_Configuration_Section_Key section;
    if (store.openSection(all, name.c_str(), section, 0) != 0) continue;
    fims[text(store, "PATTERN", kDefaultPattern)] = {
        text(store, "GROUP", ""), CFiStringTool::tstr2str(name), text(store, "DETAIL", "clone"),
        static_cast<int32_t>(number(store, "FLAGS").value_or(0))};
  }
  if (fims.empty()) fims[kDefaultPattern] = {"", "arraysnap", "clone", 0};
  return fims;
}

}  // namespace

ConfigurationFile::ConfigurationFile() {
  tstr directory;
  tstr file;
  CFiConfigurationPathTool::getConfigFileInfo("arraysnap_array", directory, file);
  m_path = CFiStringTool::tstr2str(directory + file);
  m_imported = m_store.importConfig(directory.c_str(), file.c_str());
}

void ConfigurationFile::requireReadable() const {
  std::error_code unknown;
  const bool isThere = std::filesystem::symlink_status(m_path, unknown).type() !=
                       std::filesystem::file_type::not_found;
  if (m_imported == 0 || !isThere) return;
  throw Failure{"ARRAYSNAP_NO_CONFIGURATION", {m_path, m_imported}};
}

Settings ConfigurationFile::settings() {
  Settings settings;
  ACE_Configuration_Section_Key section;
  m_store.openSection("ARRAYSNAP", section, 1);
  settings.tool = text(m_store, "TOOL", settings.tool);
  settings.state = text(m_store, "STATE", settings.state);
  settings.arrayHost = text(m_store, "ARRAY_HOST", settings.arrayHost);
  settings.timeout = number(m_store, "TIMEOUT").value_or(settings.timeout);
  settings.owner = number(m_store, "OWNER");
  settings.group = number(m_store, "GROUP");
  settings.fims = fimsIn(m_store);
  return settings;
}

SFiCredential ConfigurationFile::login(const std::string& arrayHost) {
  const auto logins = m_store.importCredentials("FIARRAY", "", "CREDENTIALS", false);
  const auto found = std::find_if(logins.begin(), logins.end(), [&](const auto& login) {
    return arrayHost.empty() ||
           CFiStringTool::CompareNoCase(CFiStringTool::tstr2str(login.hostname), arrayHost);
  });
  if (found != logins.end()) return *found;
  throw Failure{"ARRAYSNAP_NO_LOGIN", {arrayHost.empty() ? "*" : arrayHost, m_path}};
}

}  // namespace arraysnap
