#include "framework/findings.h"

#include <fiutil_accounting.h>

namespace fihost {

namespace {

std::string sentence(const orca_finding& finding) {
  const std::string size = std::to_string(finding.size);
  const std::string given = std::to_string(finding.given);
  switch (finding.kind) {
    case ORCA_FINDING_BUFFER_LEAKED:
      return "a buffer of " + size + " bytes was not given back";
    case ORCA_FINDING_BUFFER_WRONG_SIZE:
      return "a buffer of " + size + " bytes was given back as one of " + given + " bytes";
    case ORCA_FINDING_BUFFER_UNKNOWN:
      return "a buffer of " + given +
             " bytes was given back that was never handed out, or given back twice";
    case ORCA_FINDING_OBJID_LEAKED:
      return std::string("the object id \"") + finding.name + "\" was not given back";
    default:
      return "an object id was given back that was never handed out, or given back twice";
  }
}

}  // namespace

std::vector<std::string> memoryFindings() {
  std::vector<std::string> sentences;
  orca_accounting_report(
      [](const orca_finding* finding, void* context) {
        static_cast<std::vector<std::string>*>(context)->push_back(sentence(*finding));
      },
      &sentences);
  return sentences;
}

}  // namespace fihost
