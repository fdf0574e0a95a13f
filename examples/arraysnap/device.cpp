#include "device.h"

#include <cfistringtool.h>
#include <cfiudid.h>

#include "failure.h"

namespace arraysnap {

void checkName(const std::string& name) {
  constexpr char kAllowed[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
  // A leading "-" would be an option.
  const bool isPlain = !name.empty() && name[0] != '-' && name[0] != '.' &&
                       name.find_first_not_of(kAllowed) == std::string::npos;
  if (!isPlain) throw Failure{"ARRAYSNAP_BAD_NAME", {name}, orca_pdk::FI_INVALID};
}

Device deviceOf(const std::string& nodeName) try {
  const orca_pdk::CFiUdid udid(orca_pdk::CFiStringTool::str2tstr(nodeName));
  checkName(udid.getEnclosure());
  checkName(udid.getDevice());
  return {udid.getEnclosure(), udid.getDevice(), udid.toString()};
} catch (const orca_pdk::CFiUdidException& error) {
  throw Failure{"ARRAYSNAP_BAD_UDID", {error.text, error.code}, orca_pdk::FI_INVALID};
}

}  // namespace arraysnap
