#ifndef SAMPLES_FAILURE_H
#define SAMPLES_FAILURE_H

#include <cfifailure.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace samples {

// What the samples have in common. Each builds these sources into its plug-in, and says with what
// the ids of its messages begin. Its catalog has these, after that beginning, for what is found
// here:
//
//   UNTRUSTED          {0} is the path, {1} its owner, {2} its mode, {3} who else could own it
//   DIR_FAILED         {0} is the folder of snapshots, {1} the cause
//   LEFT               {0} are the snapshots that could not be removed again
//   INTERNAL           see SFiProviderIdentity
//   NO_NODE, BAD_DOCUMENT, BAD_VALUE, UNKNOWN_PARAMETER   see SFiHelperMessages
extern const char* const kMessagePrefix;

// The whole id of one of these messages.
std::string messageId(const char* id);

using Failure = orca_pdk::SFiFailure;

// A failure with result FI_FAILED.
Failure failure(std::string messageId, std::vector<orca_pdk::CFiArgument> arguments);

// The system's words for an error number, the current one by default.
std::string cause(int error = errno);

// Runs a step and turns what the system says against it into a message about an object.
template <typename Step>
auto withMessage(std::string_view messageId, const std::filesystem::path& object, Step step) {
  try {
    return step();
  } catch (const std::system_error& error) {
    throw failure(std::string(messageId), {object, cause(error.code().value())});
  }
}

}  // namespace samples

#endif
