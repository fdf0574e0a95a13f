#include "faults.h"

#include <array>
#include <atomic>

namespace orca_fiutil {

namespace {

struct Plan {
  std::atomic<std::uint64_t> calls{0};
  std::atomic<std::uint64_t> fails{0};  // number of the call that fails; 0: none
};

std::array<Plan, ORCA_FAULT_KINDS> g_plans;
std::atomic<bool> g_isEnabled{false};

bool isKind(int kind) { return kind >= 0 && kind < ORCA_FAULT_KINDS; }

Plan& planOf(int kind) { return g_plans[static_cast<std::size_t>(kind)]; }

}  // namespace

bool fails(orca_fault_kind kind) noexcept {
  if (!g_isEnabled) return false;
  Plan& plan = planOf(kind);
  return ++plan.calls == plan.fails;
}

}  // namespace orca_fiutil

using namespace orca_fiutil;

void orca_fault_set(int kind, uint64_t number) {
  if (!isKind(kind)) return;
  planOf(kind).calls = 0;
  planOf(kind).fails = number;
}

uint64_t orca_fault_calls(int kind) { return isKind(kind) ? planOf(kind).calls.load() : 0; }

void orca_fault_enable(int enabled) { g_isEnabled = enabled != 0; }
