#include "fiutil_faults.h"

#include <gtest/gtest.h>

#include <ctime>
#include <vector>

namespace {

int g_sleeps = 0;

}  // namespace

extern "C" [[gnu::visibility("default")]] int nanosleep(const timespec*, timespec*) {
  ++g_sleeps;
  return 0;
}

namespace {

// One call of each kind; true when it did not fail.
bool gets(int kind) {
  if (kind == ORCA_FAULT_DELAY) {
    const int before = g_sleeps;
    EXPECT_EQ(orca_exec_cmd_in_child_context("exit 0", nullptr, nullptr), 0);
    return g_sleeps == before;
  }
  if (kind == ORCA_FAULT_COMMAND) {
    return orca_exec_cmd_in_child_context("exit 0", nullptr, nullptr) == 0;
  }
  if (kind == ORCA_FAULT_OBJID) {
    orca_objid* const id = orca_get_objid("a", 2, 3);
    orca_free_objid(id);
    return id != nullptr;
  }
  void* const buffer = orca_alloc_buf(8);
  orca_free_buf(buffer, 8);
  return buffer != nullptr;
}

TEST(Faults, FailTheCallOfTheGivenNumberAlone) {
  for (int kind = 0; kind < ORCA_FAULT_KINDS; ++kind) {
    SCOPED_TRACE(kind);
    orca_fault_set(kind, 2);
    EXPECT_TRUE(gets(kind));  // not enabled: it has no number
    orca_fault_enable(1);
    const std::vector<bool> got{gets(kind), gets(kind), gets(kind)};
    orca_fault_enable(0);
    EXPECT_EQ(got, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(orca_fault_calls(kind), 3U);
    orca_fault_set(kind, 0);
    EXPECT_EQ(orca_fault_calls(kind), 0U);
  }
}

}  // namespace
