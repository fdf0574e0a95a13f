#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "fiutil_accounting.h"

namespace {

struct Seen {
  int kind;
  const void* object;
  size_t size;
  size_t given;
  std::string name;

  bool operator==(const Seen&) const = default;
};

void PrintTo(const Seen& seen, std::ostream* out) {
  *out << "kind " << seen.kind << " at " << seen.object << " size " << seen.size << " given "
       << seen.given << " name " << seen.name;
}

class Accounting : public testing::Test {
 protected:
  void SetUp() override { orca_accounting_reset(); }

  static std::vector<Seen> report() {
    std::vector<Seen> seen;
    const size_t count = orca_accounting_report(
        [](const orca_finding* f, void* context) {
          static_cast<std::vector<Seen>*>(context)->push_back(
              {f->kind, f->object, f->size, f->given, f->name == nullptr ? "" : f->name});
        },
        &seen);
    EXPECT_EQ(count, seen.size());
    return seen;
  }

  static orca_totals totals() {
    orca_totals result;
    orca_accounting_totals(&result);
    return result;
  }
};

TEST_F(Accounting, HasNoFindingWhenEverythingCameBack) {
  void* buffer = orca_alloc_buf(10);
  orca_objid* id = orca_get_objid("disk", 5, 3);
  EXPECT_EQ(totals().bytes_live, 10u);
  orca_free_buf(buffer, 10);
  orca_free_objid(id);
  EXPECT_EQ(report(), std::vector<Seen>());
  const orca_totals after = totals();
  EXPECT_EQ(after.buffers_out, 1u);
  EXPECT_EQ(after.buffers_back, 1u);
  EXPECT_EQ(after.objids_out, 1u);
  EXPECT_EQ(after.objids_back, 1u);
  EXPECT_EQ(after.bytes_live, 0u);
}

TEST_F(Accounting, NamesLeaksInTheOrderOfHandingOut) {
  orca_objid* id = orca_get_objid("disk", 5, 3);
  void* empty = orca_alloc_buf(0);
  void* buffer = orca_alloc_buf(7);
  EXPECT_EQ(report(), (std::vector<Seen>{{ORCA_FINDING_OBJID_LEAKED, id, 5, 0, "disk"},
                                         {ORCA_FINDING_BUFFER_LEAKED, empty, 0, 0, ""},
                                         {ORCA_FINDING_BUFFER_LEAKED, buffer, 7, 0, ""}}));
  orca_free_objid(id);
  orca_free_buf(empty, 0);
  orca_free_buf(buffer, 7);
}

TEST_F(Accounting, RecordsAWrongSizeAndReleasesTheBufferAllTheSame) {
  void* buffer = orca_alloc_buf(8);
  orca_free_buf(buffer, 9);
  EXPECT_EQ(report(), (std::vector<Seen>{{ORCA_FINDING_BUFFER_WRONG_SIZE, buffer, 8, 9, ""}}));
  EXPECT_EQ(totals().buffers_back, 1u);
  EXPECT_EQ(totals().bytes_live, 0u);
}

TEST_F(Accounting, RecordsUnknownAndSecondFreesAndTouchesNothing) {
  char local[4] = "abc";
  orca_objid stranger{local, 3};
  orca_free_buf(local, 4);
  orca_free_objid(&stranger);
  void* buffer = orca_alloc_buf(1);
  orca_free_buf(buffer, 1);
  orca_free_buf(buffer, 1);
  EXPECT_EQ(report(), (std::vector<Seen>{{ORCA_FINDING_BUFFER_UNKNOWN, local, 0, 4, ""},
                                         {ORCA_FINDING_OBJID_UNKNOWN, &stranger, 0, 0, ""},
                                         {ORCA_FINDING_BUFFER_UNKNOWN, buffer, 0, 1, ""}}));
  EXPECT_EQ(totals().buffers_back, 1u);
  EXPECT_STREQ(local, "abc");
}

TEST_F(Accounting, IgnoresNullAndCountsWithoutAVisitor) {
  orca_free_buf(nullptr, 3);
  orca_free_objid(nullptr);
  void* buffer = orca_alloc_buf(1);
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 1u);
  orca_free_buf(buffer, 1);
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0u);
}

TEST_F(Accounting, ResetForgetsFindingsAndTotals) {
  orca_free_buf(orca_alloc_buf(8), 9);
  orca_accounting_reset();
  EXPECT_EQ(report(), std::vector<Seen>());
  EXPECT_EQ(totals().buffers_out, 0u);
}

TEST_F(Accounting, CountsEveryCallOfSeveralThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (size_t i = 0; i < 2000; ++i) {
        orca_free_buf(orca_alloc_buf(i), i);
        orca_free_objid(orca_get_objid("n", 2, 3));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(totals().buffers_back, 8000u);
  EXPECT_EQ(totals().objids_back, 8000u);
  EXPECT_EQ(report(), std::vector<Seen>());
}

// Frees while the statics of the program are destroyed, after main has ended.
struct AtExit {
  void* buffer = nullptr;
  ~AtExit() {
    orca_free_buf(buffer, 5);
    if (buffer != nullptr && orca_accounting_report(nullptr, nullptr) != 0) _exit(9);
  }
};
AtExit atExit;

TEST_F(Accounting, WorksWhileTheProcessEnds) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        orca_accounting_reset();
        atExit.buffer = orca_alloc_buf(5);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
