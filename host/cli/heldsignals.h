#ifndef FIHOST_CLI_HELDSIGNALS_H
#define FIHOST_CLI_HELDSIGNALS_H

#include <signal.h>

#include <array>

namespace fihost {

// Holds the first signal that would end the host (SIGINT, SIGTERM, SIGHUP) until its scope ends, so
// that nothing stays quiesced, and says so; a second one ends the host at once. Programs that are
// started meanwhile get the signals as ever. One object at a time.
class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  // True once a signal is held.
  static bool isPending();
  // Lets the signal go that was held, which then ends the host; called when the answer is printed.
  static void letGo();

 private:
  static constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

  std::array<struct sigaction, kSignals.size()> m_old;
};

}  // namespace fihost

#endif
