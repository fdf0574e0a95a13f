#ifndef FIHOST_CLI_ENDINGSIGNALS_H
#define FIHOST_CLI_ENDINGSIGNALS_H

#include <signal.h>

#include <algorithm>
#include <array>

namespace fihost {

// The signals by which others, or a limit, end a process that does nothing about them. Those of
// crashes are none of them.
inline constexpr std::array kEndingSignals{SIGHUP,  SIGINT,  SIGQUIT,   SIGTERM,  SIGUSR1,
                                           SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF,  SIGXCPU,
                                           SIGXFSZ, SIGPOLL, SIGPWR,    SIGSTKFLT};

inline bool isEndingSignal(int number) {
  return std::find(kEndingSignals.begin(), kEndingSignals.end(), number) != kEndingSignals.end();
}

}  // namespace fihost

#endif
