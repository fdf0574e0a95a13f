#include <set>
#include <string>

#include "cficonfiguration.h"
#include "cfiscope.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr const char* kSourceFile = "../cficonfiguration";

bool isOpenArrayName(const tstr& name) { return name.find("OPENARRAY") != tstr::npos; }

bool isGiven(const tstr& value) { return !value.empty() && value != "<none>"; }

// What two host names that differ in letter case only have in common.
std::string hostKey(const tstr& hostname) {
  return CFiStringTool::tostrupper(CFiStringTool::tstr2str(hostname));
}

}  // namespace

std::vector<SFiCredential> CFiConfiguration::importCredentials(std::string vendor,
                                                               std::string product, tstr section,
                                                               bool openArray) {
  const OperationScope scope(*this, kSourceFile);
  std::vector<SFiCredential> result;
  CFiCredentialsParser parser;
  parser.registerTraceLog(getTraceLog());
  parser.parse(vendor, product, result, openArray);

  ACE_Configuration_Section_Key key;
  if (openSection(section.c_str(), key, 1) == 0) importSections(key, openArray, result);

  if (result.empty()) {
    traceLine(FI_TRACE_WARNING, "WARNING: No credentials found for %s %s.", vendor.c_str(),
              product.c_str());
  } else {
    traceLine(FI_TRACE_INFO, "INFO: %d credentials found for %s %s.",
              static_cast<int>(result.size()), vendor.c_str(), product.c_str());
  }
  return result;
}

void CFiConfiguration::importSections(const ACE_Configuration_Section_Key& key, bool openArray,
                                      std::vector<SFiCredential>& result) {
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - inside opensection");
  const std::vector<tstr> names = enumerateSections();
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - found [%d] subsections.",
            static_cast<int>(names.size()));
  std::set<std::string> hosts;
  for (const SFiCredential& known : result) hosts.insert(hostKey(known.hostname));
  result.reserve(result.size() + names.size());  // records cannot be moved, only copied
  for (const tstr& name : names) importSection(key, name, openArray, hosts, result);
}

void CFiConfiguration::importSection(const ACE_Configuration_Section_Key& base, const tstr& name,
                                     bool openArray, std::set<std::string>& hosts,
                                     std::vector<SFiCredential>& result) {
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials - opening subsection [%s].",
            name.c_str());
  ACE_Configuration_Section_Key key;
  if (openSection(base, name.c_str(), key, 1) != 0) {
    traceLine(FI_TRACE_ERROR, "ERROR: [%s] Importing section [%s] failed.",
              "The section cannot be opened", name.c_str());
    return;
  }
  traceLine(FI_TRACE_INFO, "CFiConfiguration::importCredentials -inside open subsection [%s].",
            name.c_str());
  if (isOpenArrayName(name) != openArray) {
    traceLine(FI_TRACE_INFO, "Skipping credentials section [%s]", name.c_str());
    return;
  }
  traceLine(FI_TRACE_INFO, "Importing credentials section [%s]", name.c_str());
  importRecord(hosts, result);
}

void CFiConfiguration::importRecord(std::set<std::string>& hosts,
                                    std::vector<SFiCredential>& result) {
  SFiCredential record;
  getStringValue("HOSTNAME", record.hostname);
  getStringValue("USERNAME", record.username);
  getStringValue("PASSWORD", record.password);
  traceLine(FI_TRACE_INFO, "Found cred.password as [%s].", record.password.c_str());
  traceLine(FI_TRACE_INFO, "Found cred.username as [%s].", record.username.c_str());
  traceLine(FI_TRACE_INFO, "Found cred.hostname as [%s].", record.hostname.c_str());
  if (!isGiven(record.hostname) || !isGiven(record.username) || !isGiven(record.password)) return;

  traceLine(FI_TRACE_INFO, "Checking if credentails alreadt added for [%s]",
            record.hostname.c_str());
  if (hosts.insert(hostKey(record.hostname)).second) result.push_back(record);
}

}  // namespace orca_pdk_4_4
