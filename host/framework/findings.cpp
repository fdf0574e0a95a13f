#include "framework/findings.h"

#include <algorithm>

namespace fihost {

namespace {

std::string whatIsWrong(const orca_finding& finding) {
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

uint64_t handedOut(const orca_totals& totals) { return totals.buffers_out + totals.objids_out; }

}  // namespace

void MemoryWatch::ended(const Call& call) {
  orca_totals now{};
  orca_accounting_totals(&now);
  const Span span{
      std::string(call.operation->name) + (call.node.empty() ? "" : ", node ") + call.node,
      handedOut(m_before), handedOut(now), m_before.wrong_frees, now.wrong_frees};
  if (span.outBefore == span.outAfter && span.wrongBefore == span.wrongAfter) return;
  m_spans.push_back(span);
}

std::string MemoryWatch::sentence(const orca_finding& finding) const {
  const bool isLeak =
      finding.kind == ORCA_FINDING_BUFFER_LEAKED || finding.kind == ORCA_FINDING_OBJID_LEAKED;
  const auto found = std::find_if(m_spans.begin(), m_spans.end(), [&](const Span& span) {
    return isLeak ? span.outBefore <= finding.serial && finding.serial < span.outAfter
                  : span.wrongBefore <= finding.serial && finding.serial < span.wrongAfter;
  });
  return whatIsWrong(finding) +
         (found == m_spans.end() ? ", outside any operation" : ", in " + found->operation);
}

std::vector<std::string> MemoryWatch::findings() const {
  struct Collected {
    const MemoryWatch* watch;
    std::vector<std::string> sentences;
  } collected{this, {}};
  orca_accounting_report(
      [](const orca_finding* finding, void* context) {
        auto* into = static_cast<Collected*>(context);
        into->sentences.push_back(into->watch->sentence(*finding));
      },
      &collected);
  return collected.sentences;
}

}  // namespace fihost
