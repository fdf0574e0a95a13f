#include "framework/overrides.h"

#include <cfioperationtable.h>
#include <cfiplugininterposer.h>

#include <cstring>
#include <iterator>
#include <string_view>

namespace fihost {

namespace {

// What an interposing provider has behind the operation table.
constexpr std::string_view kInterposing[] = {"addIgnoreNodeType", "setDefaultNodeType",
                                             "importNode"};

// The function pointers of an object's operation table; the object begins with their address.
const void* const* operationTable(const orca_pdk::CFiPluginBase& provider) {
  const void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&provider), sizeof table);
  return table;
}

}  // namespace

Overrides overriddenOperations(const orca_pdk::CFiPluginBase& provider) {
  const bool interposes = dynamic_cast<const orca_pdk::CFiPluginInterposer*>(&provider) != nullptr;
  const orca_pdk::CFiPluginBase plain;
  const orca_pdk::CFiPluginInterposer interposer;
  const void* const* defaults = operationTable(plain);
  const void* const* inherited = interposes ? operationTable(interposer) : defaults;
  const void* const* own = operationTable(provider);
  std::vector<std::string_view> names(orca_pdk::kProviderOperations.begin(),
                                      orca_pdk::kProviderOperations.end());
  if (interposes) names.insert(names.end(), std::begin(kInterposing), std::end(kInterposing));
  Overrides overrides;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].starts_with("~")) continue;  // each class has destructors of its own
    const bool isBeyond = i >= orca_pdk::kProviderOperations.size();
    if (own[i] != inherited[i]) {
      overrides.own.emplace_back(names[i]);
    } else if (isBeyond || own[i] != defaults[i]) {
      overrides.inherited.emplace_back(names[i]);
    }
  }
  return overrides;
}

}  // namespace fihost
