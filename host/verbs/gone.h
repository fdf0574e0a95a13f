#ifndef FIHOST_VERBS_GONE_H
#define FIHOST_VERBS_GONE_H

#include <string>
#include <vector>

#include "state/statestore.h"
#include "verbs/withprovider.h"

namespace fihost {

// Takes those snapshots of nodes off the list that the provider, which may keep only so many of a
// node, no longer has: it is asked for the state of the few oldest of each. The nodes must have
// been ended; `session` is the one just ended, whose own snapshots are not asked for. Returns the
// names. Throws a Problem when the list cannot be read or written.
std::vector<std::string> forgetGone(ProviderRun& run, StateStore& store,
                                    const std::vector<std::string>& nodes,
                                    const std::string& session);

}  // namespace fihost

#endif
