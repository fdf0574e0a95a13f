#include "cli/heldsignals.h"

#include <unistd.h>

namespace fihost {

namespace {

volatile sig_atomic_t g_held = 0;

constexpr char kHeldText[] =
    "\nfihost: the signal is held until writers go on; a second one ends the host at once\n";

void hold(int number) {
  g_held = number;
  const ssize_t ignored = write(STDERR_FILENO, kHeldText, sizeof kHeldText - 1);
  static_cast<void>(ignored);
}

}  // namespace

HeldSignals::HeldSignals() : m_old() {
  struct sigaction holding {};
  holding.sa_handler = hold;
  holding.sa_flags = SA_RESTART | SA_RESETHAND;
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &m_old[i]);
    // A host that was started to ignore a signal goes on ignoring it.
    if (m_old[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &holding, nullptr);
  }
}

HeldSignals::~HeldSignals() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &m_old[i], nullptr);
}

bool HeldSignals::isPending() { return g_held != 0; }

void HeldSignals::letGo() {
  if (!isPending()) return;
  signal(g_held, SIG_DFL);
  raise(g_held);
}

}  // namespace fihost
