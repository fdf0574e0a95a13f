#include "cli/heldsignals.h"

namespace fihost {

namespace {

volatile sig_atomic_t g_held = 0;

void hold(int number) { g_held = number; }

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
  if (isPending()) raise(g_held);
}

}  // namespace fihost
