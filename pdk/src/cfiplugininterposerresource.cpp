#include "cfiplugininterposer.h"
#include "cfiscope.h"
#include "cfiudid.h"

namespace orca_pdk_4_4 {

namespace {

constexpr int kResource = 2;

std::vector<tstr> hostList(const char* hostName) {
  std::vector<tstr> hosts;
  if (hostName != nullptr) hosts.emplace_back(hostName);
  return hosts;
}

}  // namespace

// The only provider operation without a trace scope.
int CFiPluginInterposer::importResource(char**, char* resource, char* hostName, char*, int flags,
                                        char**, char*) {
  if (resource == nullptr) return FI_INVALID;
  const CFiUdid checked{tstr(resource)};
  if (hostName == nullptr) {
    traceLine(FI_TRACE_INFO, "No hostname was passed to the importResource API");
  } else {
    traceLine(FI_TRACE_INFO, "Hostname [%s] was passed to importResource API. Adding it hostList ",
              hostName);
  }
  if ((flags & 0x4) != 0) return FI_NOT_SUPPORTED;
  const std::vector<tstr> hosts = hostList(hostName);
  if ((flags & 0x1) != 0) return importNode(resource, hosts, false, false, false, kResource);
  if ((flags & 0x2) != 0) return importNode(resource, hosts, false, true, false, kResource);
  return FI_FAILED;
}

int CFiPluginInterposer::deportResource(char* resource, char* hostName, char*, char*, int flags) {
  const OperationScope scope(*this, kInterposerSource);
  if (resource == nullptr) return FI_INVALID;
  const CFiUdid checked{tstr(resource)};
  if ((flags & 0x400) != 0) return FI_OK;
  if (hostName == nullptr) {
    traceLine(FI_TRACE_INFO, "No hostname was passed to the deportResource API");
  } else {
    traceLine(FI_TRACE_INFO, "Hostname [%s] was passed to deportResource API. Adding it hostList ",
              hostName);
  }
  const std::vector<tstr> hosts = hostList(hostName);
  if ((flags & 0x10) != 0) return importNode(resource, hosts, false, true, true, kResource);
  if ((flags & 0x20) != 0) return importNode(resource, hosts, false, false, true, kResource);
  return (flags & 0x40) != 0 ? FI_NOT_SUPPORTED : FI_OK;
}

}  // namespace orca_pdk_4_4
