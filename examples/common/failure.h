#ifndef SAMPLES_FAILURE_H
#define SAMPLES_FAILURE_H

#include <cfifailure.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace samples {

// What the samples have in common. Each builds these sources into its plug-in, and defines which of
// its messages says that something is not trusted: {0} is the path, {1} its owner, {2} its mode,
// {3} who else could own it.
extern const char* const kUntrusted;

using Failure = orca_pdk::SFiFailure;

// A failure with result FI_FAILED.
Failure failure(std::string messageId, std::vector<orca_pdk::CFiArgument> arguments);

// The system's words for an error number, the current one by default.
std::string cause(int error = errno);

// Runs a step and turns what the system says against it into a message about an object.
template <typename Step>
auto withMessage(const char* messageId, const std::filesystem::path& object, Step step) {
  try {
    return step();
  } catch (const std::system_error& error) {
    throw failure(messageId, {object, cause(error.code().value())});
  }
}

}  // namespace samples

#endif
