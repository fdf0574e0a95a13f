#include "framework/overrides.h"

#include <cfioperationtable.h>

#include <cstring>

namespace fihost {

namespace {

constexpr std::size_t kDestructors = 2;

// The function pointers of an object's operation table; the object begins with their address.
const void* const* operationTable(const orca_pdk::CFiPluginBase& provider) {
  const void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&provider), sizeof table);
  return table;
}

}  // namespace

std::vector<std::string> overriddenOperations(const orca_pdk::CFiPluginBase& provider) {
  const orca_pdk::CFiPluginBase plain;
  const void* const* defaults = operationTable(plain);
  const void* const* own = operationTable(provider);
  std::vector<std::string> names;
  for (std::size_t i = kDestructors; i < orca_pdk::kProviderOperations.size(); ++i) {
    if (own[i] != defaults[i]) names.emplace_back(orca_pdk::kProviderOperations[i]);
  }
  return names;
}

}  // namespace fihost
