#include "cli/heldsignals.h"

#include <unistd.h>

#include "cli/endingsignals.h"

namespace fihost {

namespace {

volatile sig_atomic_t g_held = 0;
std::array<struct sigaction, kEndingSignals.size()> g_before;

constexpr char kHeldText[] =
    "\nfihost: the signal is held until writers go on; a second one ends the host at once\n";

void dieBy(int number) {
  signal(number, SIG_DFL);
  raise(number);
}

void doAsBefore(int number) {
  for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
    if (kEndingSignals[i] != number) continue;
    const auto handler = g_before[i].sa_handler;
    handler == SIG_DFL ? dieBy(number) : handler(number);
  }
}

void hold(int number) {
  if (g_held != 0) {
    doAsBefore(number);
    return;
  }
  g_held = number;
  const ssize_t ignored = write(STDERR_FILENO, kHeldText, sizeof kHeldText - 1);
  static_cast<void>(ignored);
}

}  // namespace

HeldSignals::HeldSignals() {
  struct sigaction holding {};
  holding.sa_handler = hold;
  holding.sa_flags = SA_RESTART | SA_NODEFER | SA_ONSTACK;
  for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
    sigaction(kEndingSignals[i], nullptr, &g_before[i]);
    // A host that was started to ignore a signal goes on ignoring it.
    if (g_before[i].sa_handler != SIG_IGN) sigaction(kEndingSignals[i], &holding, nullptr);
  }
}

HeldSignals::~HeldSignals() {
  for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
    sigaction(kEndingSignals[i], &g_before[i], nullptr);
  }
}

bool HeldSignals::isPending() { return g_held != 0; }

void HeldSignals::letGo() {
  if (isPending()) dieBy(g_held);
}

}  // namespace fihost
