#ifndef FIHOST_CLI_HELDSIGNALS_H
#define FIHOST_CLI_HELDSIGNALS_H

namespace fihost {

// Holds the first signal that would end the host until its scope ends, so that nothing stays
// quiesced and the list is written, and says so. A second one, of whatever kind, does at once what
// it would have done before. Programs that are started meanwhile get the signals as ever. One
// object at a time.
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
};

}  // namespace fihost

#endif
