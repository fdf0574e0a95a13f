#ifndef ORCA_PDK_CFIFAILURE_H
#define ORCA_PDK_CFIFAILURE_H

#include <concepts>
#include <filesystem>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// An argument of a message: text in UTF-8, a path or a whole number. Converts from each of them, so
// that a list of arguments is written as they come: {path, 5, "text"}.
class ORCA_PDK_API CFiArgument {
 public:
  CFiArgument(std::string text);
  // Null counts as the empty text.
  CFiArgument(const char* text);
  CFiArgument(const tstr& text);
  CFiArgument(const std::filesystem::path& path);
  template <std::integral Number>
  CFiArgument(Number number) : CFiArgument(std::to_string(number)) {}

  const std::string& text() const { return m_text; }

 private:
  std::string m_text;
};

// Why an operation cannot go on: a message of the provider's catalog and the result that the
// framework gets. Thrown inside a provider only, where CFiProviderSetup::guarded catches it.
struct ORCA_PDK_API SFiFailure {
  std::string messageId;
  std::vector<CFiArgument> arguments;
  int result = FI_FAILED;
};

// Ids of the messages of the failures that the kit's own helpers throw, all with FI_INVALID. They
// are thrown under the ids that stand here; a provider whose catalog has others names them to its
// CFiProviderSetup, which puts them in their place.
struct ORCA_PDK_API SFiHelperMessages {
  std::string missing = "MISSING_ARGUMENT";            // {0} is what the framework did not pass
  std::string badDocument = "BAD_DOCUMENT";            // {0} is how the values begin
  std::string badValue = "BAD_VALUE";                  // {0} is the key, {1} the value, {2} what is
                                                       // allowed
  std::string unknownParameter = "UNKNOWN_PARAMETER";  // {0} is the key, {1} the keys there are
};

}  // namespace orca_pdk_4_4

#endif
