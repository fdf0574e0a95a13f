#ifndef FIHOST_FRAMEWORK_FINDINGS_H
#define FIHOST_FRAMEWORK_FINDINGS_H

#include <fiutil_accounting.h>

#include <string>
#include <vector>

#include "trace/event.h"

namespace fihost {

// Looks after each call at what was handed out and given back.
class MemoryWatch : public CallObserver {
 public:
  void begins(const Call&) override { orca_accounting_totals(&m_before); }
  void ended(const Call& call) override;

  // A sentence for every buffer and object id that was not given back, or not as it should be, with
  // the operation in which that happened: for a leak, the one that handed it out.
  std::vector<std::string> findings() const;

 private:
  // What an operation did: the numbers before and after it.
  struct Span {
    std::string operation;
    uint64_t outBefore, outAfter;
    uint64_t wrongBefore, wrongAfter;
  };
  std::string sentence(const orca_finding& finding) const;

  orca_totals m_before{};
  std::vector<Span> m_spans;
};

}  // namespace fihost

#endif
