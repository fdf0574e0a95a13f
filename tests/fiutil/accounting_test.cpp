#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "fiutil_accounting.h"

namespace {

struct Seen {
  int kind;
  const void* object;
  size_t size, given;
  std::string name;

  bool operator==(const Seen&) const = default;
};

class Accounting : public testing::Test {
 protected:
  void SetUp() override { orca_accounting_reset(); }

  static std::vector<Seen> report() {
    std::vector<Seen> seen;
    const auto note = [](const orca_finding* f, void* context) {
      const Seen one{f->kind, f->object, f->size, f->given, f->name == nullptr ? "" : f->name};
      static_cast<std::vector<Seen>*>(context)->push_back(one);
    };
    const size_t count = orca_accounting_report(note, &seen);
    EXPECT_EQ(count, seen.size());
    EXPECT_EQ(orca_accounting_report(nullptr, nullptr), count);
    return seen;
  }
  static constexpr size_t kNone = 77;
  static size_t size(const void* object) {
    size_t size = kNone;
    const int isKnown = orca_accounting_size(object, &size);
    EXPECT_EQ(isKnown, size == kNone ? 0 : 1);
    return size;
  }
  // Buffers out and back, object ids out and back, bytes out now.
  static std::vector<uint64_t> totals() {
    orca_totals t;
    orca_accounting_totals(&t);
    return {t.buffers_out, t.buffers_back, t.objids_out, t.objids_back, t.bytes_live};
  }
};

TEST_F(Accounting, NamesLeaksInTheOrderOfHandingOutUntilTheyComeBack) {
  constexpr size_t kLarge = 1 << 20;  // at a higher address than what comes later
  void* buffer = orca_alloc_buf(kLarge);
  orca_objid* id = orca_get_objid("disk", 5, 3);
  void* empty = orca_alloc_buf(0);
  EXPECT_EQ(report(), (std::vector<Seen>{{ORCA_FINDING_BUFFER_LEAKED, buffer, kLarge, 0, ""},
                                         {ORCA_FINDING_OBJID_LEAKED, id, 5, 0, "disk"},
                                         {ORCA_FINDING_BUFFER_LEAKED, empty, 0, 0, ""}}));
  EXPECT_EQ(totals(), (std::vector<uint64_t>{2, 0, 1, 0, kLarge}));
  EXPECT_EQ(size(buffer), kLarge);
  EXPECT_EQ(size(id), 5U);
  EXPECT_EQ(size(empty), 0U);
  orca_free_objid(id);
  orca_free_buf(empty, 0);
  orca_free_buf(buffer, kLarge);
  for (const void* gone : {buffer, empty, static_cast<void*>(id)}) EXPECT_EQ(size(gone), kNone);
  EXPECT_EQ(report(), std::vector<Seen>());
  EXPECT_EQ(totals(), (std::vector<uint64_t>{2, 2, 1, 1, 0}));
}

TEST_F(Accounting, RecordsAWrongSizeAndReleasesTheBufferAllTheSameUntilReset) {
  void* buffer = orca_alloc_buf(8);
  orca_free_buf(buffer, 9);
  EXPECT_EQ(report(), (std::vector<Seen>{{ORCA_FINDING_BUFFER_WRONG_SIZE, buffer, 8, 9, ""}}));
  EXPECT_EQ(totals(), (std::vector<uint64_t>{1, 1, 0, 0, 0}));
  orca_accounting_reset();
  EXPECT_EQ(report(), std::vector<Seen>());
  EXPECT_EQ(totals(), std::vector<uint64_t>(5));
}

TEST_F(Accounting, RecordsUnknownAndSecondFreesAndTouchesNothing) {
  char local[4] = "abc";
  orca_objid stranger{local, 3};
  void* buffer = orca_alloc_buf(1);
  orca_free_buf(local, 4);
  orca_free_objid(&stranger);
  for (int i = 0; i < 2; ++i) orca_free_buf(buffer, 1);
  orca_free_buf(nullptr, 3);
  orca_free_objid(nullptr);
  EXPECT_EQ(report(), (std::vector<Seen>{{ORCA_FINDING_BUFFER_UNKNOWN, local, 0, 4, ""},
                                         {ORCA_FINDING_OBJID_UNKNOWN, &stranger, 0, 0, ""},
                                         {ORCA_FINDING_BUFFER_UNKNOWN, buffer, 0, 1, ""}}));
  EXPECT_EQ(totals(), (std::vector<uint64_t>{1, 1, 0, 0, 0}));
  EXPECT_STREQ(local, "abc");
}

TEST_F(Accounting, CountsEveryCallOfSeveralThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (size_t i = 0; i < 2000; ++i) orca_free_buf(orca_alloc_buf(i), i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(totals(), (std::vector<uint64_t>{8000, 8000, 0, 0, 0}));
}

}  // namespace
