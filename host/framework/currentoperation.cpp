#include "framework/currentoperation.h"

#include <signal.h>
#include <time.h>

#include "cli/text.h"

namespace fihost {

namespace {

const CurrentOperation* g_current = nullptr;
timer_t g_timer;
int g_seconds = 0;
char* g_place = nullptr;
std::size_t g_placeSize = 0;

// Begins to measure the time, or ends it.
void limitTime(bool begins) {
  if (g_seconds == 0) return;
  itimerspec when{};
  if (begins) when.it_value.tv_sec = g_seconds;
  timer_settime(g_timer, 0, &when, nullptr);
}

}  // namespace

CurrentOperation::CurrentOperation(const std::string& provider, const std::string& operation,
                                   const std::string& node, const std::string& changed)
    : m_provider(provider),
      m_operation(operation),
      m_node(node),
      m_changed(printable(changed)),
      m_sentence(printable("provider " + provider + ", operation " + operation +
                           (node.empty() ? "" : ", node " + node))),
      m_before(g_current) {
  g_current = this;
  show();
  limitTime(true);
}

CurrentOperation::~CurrentOperation() {
  g_current = m_before;
  show();
  limitTime(g_current != nullptr);
}

const CurrentOperation* CurrentOperation::get() { return g_current; }

void CurrentOperation::showIn(char* place, std::size_t size) {
  g_place = place;
  g_placeSize = size;
  show();
}

void CurrentOperation::show() {
  if (g_place == nullptr) return;
  const std::size_t size =
      g_current == nullptr ? 0 : g_current->sentence().copy(g_place, g_placeSize - 1);
  g_place[size] = '\0';
}

void CurrentOperation::setTimeLimit(int seconds, int signal) {
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = signal;
  g_seconds = seconds > 0 && timer_create(CLOCK_MONOTONIC, &event, &g_timer) == 0 ? seconds : 0;
}

}  // namespace fihost
