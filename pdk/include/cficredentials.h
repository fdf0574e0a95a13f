#ifndef ORCA_PDK_CFICREDENTIALS_H
#define ORCA_PDK_CFICREDENTIALS_H

#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// The login of one array's management service. The password is in clear; holders keep the record as
// short as they can and never print it.
struct ORCA_PDK_API SFiCredential {
  tstr hostname;
  tstr username;
  tstr password;
  int port = -1;  // -1: none was given
  tstr data;      // opaque extra data; empty: none
};

// Reads array credentials from a credential text. Malformed lines and values are skipped with a
// warning in the trace log. Nothing is thrown but std::bad_alloc, the list then as it was.
class ORCA_PDK_API CFiCredentialsParser : public virtual CFiTraceable {
 public:
  CFiCredentialsParser();
  ~CFiCredentialsParser() override;

  // Parses the credential text that the framework's utility library hands out and appends to out.
  // Returns 0 (also when there is no text), or 31 for an empty one.
  int parse(std::string vendor, std::string product, std::vector<SFiCredential>& out,
            bool openArray);

  // Parses a given text and appends to out what belongs to vendor and product (an empty one matches
  // all). openArray true takes only sections whose name contains "OPENARRAY", false only the
  // others. Returns 0.
  int parse(std::string text, std::string vendor, std::string product,
            std::vector<SFiCredential>& out, bool openArray);

  // Replaces a text by what stands between its first character, taken for the opening quote, and
  // its last double quote. False, with the text left alone, when no double quote follows the first
  // character.
  bool removeQuotes(std::string& text);
};

}  // namespace orca_pdk_4_4

#endif
