#include "failure.h"

#include <system_error>
#include <utility>

namespace samples {

std::string messageId(const char* id) { return std::string(kMessagePrefix) + id; }

Failure failure(std::string messageId, std::vector<orca_pdk::CFiArgument> arguments) {
  return {std::move(messageId), std::move(arguments), orca_pdk::FI_FAILED};
}

std::string cause(int error) { return std::generic_category().message(error); }

}  // namespace samples
