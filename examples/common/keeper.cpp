#include "keeper.h"

namespace samples {

orca_pdk::SFiProviderIdentity identityOf(const char* providerName) {
  auto identity = orca_pdk::SFiProviderIdentity::named(providerName);
  identity.unexpectedId = messageId("INTERNAL");
  return identity;
}

orca_pdk::SFiHelperMessages helperMessages() {
  return {messageId("NO_NODE"), messageId("BAD_DOCUMENT"), messageId("BAD_VALUE"),
          messageId("UNKNOWN_PARAMETER")};
}

}  // namespace samples
