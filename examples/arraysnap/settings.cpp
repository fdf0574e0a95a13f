#include "settings.h"

#include <cfistringtool.h>

#include <algorithm>
#include <filesystem>

#include "failure.h"

namespace arraysnap {

namespace {

using orca_pdk::CFiStringTool;
using orca_pdk::tstr;

constexpr char kFileName[] = "arraysnap_array";
constexpr char kSection[] = "ARRAYSNAP";
constexpr char kFimSection[] = "FIMS";
constexpr char kCredentialSection[] = "CREDENTIALS";
constexpr char kVendor[] = "FIARRAY";
constexpr char kDefaultPattern[] = "UDID##FIARRAY##";
constexpr char kDefaultFim[] = "arraysnap";

}  // namespace

ConfigurationFile::ConfigurationFile() {
  tstr directory;
  tstr file;
  orca_pdk::CFiConfigurationPathTool::getConfigFileInfo(kFileName, directory, file);
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

std::string ConfigurationFile::text(const char* name, const std::string& otherwise) {
  tstr value;
  return m_store.getStringValue(name, value) == 0 ? CFiStringTool::tstr2str(value) : otherwise;
}

std::optional<unsigned> ConfigurationFile::number(const char* name) {
  unsigned value = 0;
  return m_store.getIntegerValue(name, value) == 0 ? std::optional(value) : std::nullopt;
}

Settings ConfigurationFile::settings() {
  Settings settings;
  ACE_Configuration_Section_Key section;
  m_store.openSection(kSection, section, 1);
  settings.tool = text("TOOL", settings.tool);
  settings.state = text("STATE", settings.state);
  settings.arrayHost = text("ARRAY_HOST", settings.arrayHost);
  settings.timeout = number("TIMEOUT").value_or(settings.timeout);
  settings.owner = number("OWNER");
  settings.group = number("GROUP");
  readFims(settings);
  return settings;
}

// One sub-section a FIM.
void ConfigurationFile::readFims(Settings& settings) {
  ACE_Configuration_Section_Key fims;
  m_store.openSection(kFimSection, fims, 1);
  for (const tstr& name : m_store.enumerateSections(fims)) {
    ACE_Configuration_Section_Key section;
    if (m_store.openSection(fims, name.c_str(), section, 0) != 0) continue;
    settings.fims[text("PATTERN", kDefaultPattern)] = {
        text("GROUP", ""), CFiStringTool::tstr2str(name), text("DETAIL", "clone"),
        static_cast<int32_t>(number("FLAGS").value_or(0))};
  }
  if (settings.fims.empty()) settings.fims[kDefaultPattern] = {"", kDefaultFim, "clone", 0};
}

orca_pdk::SFiCredential ConfigurationFile::login(const std::string& arrayHost) {
  const auto logins = m_store.importCredentials(kVendor, "", kCredentialSection, false);
  const auto found = std::find_if(logins.begin(), logins.end(), [&](const auto& login) {
    return arrayHost.empty() ||
           CFiStringTool::CompareNoCase(CFiStringTool::tstr2str(login.hostname), arrayHost);
  });
  if (found != logins.end()) return *found;
  const std::string wanted = arrayHost.empty() ? "*" : arrayHost;
  throw Failure{"ARRAYSNAP_NO_LOGIN", {wanted, m_path}};
}

}  // namespace arraysnap
