#ifndef ORCA_SWEEP_ARRAY_WORK_H
#define ORCA_SWEEP_ARRAY_WORK_H

#include "examples/arraysnap_fixture.h"
#include "support/traced_work.h"

namespace orca_tests {

// Commands of the array's tool, each of which begins on the same array and can be repeated: D0 with
// new data, D1 with old data, D2 mapped, D3 a clone.
class FiArrayWork : public testing::Test {
 protected:
  FiArrayWork() {
    m_array.make(4, "4K");
    m_array.write("D0", m_new);
    m_array.write("D1", m_old);
    m_array.ok("map E1 D2 hosta 7");
    m_array.ok("clone E1 D0 D3");
    std::filesystem::rename(m_array.folder, m_template);
  }

  void begin() const {
    std::filesystem::remove_all(m_array.folder);
    std::filesystem::copy(m_template, m_array.folder, std::filesystem::copy_options::recursive);
  }
  TracedWork command(const std::string& words) const {
    return {{"/bin/sh", "-c",
             "exec " FIARRAY_PROGRAM " --state " + m_array.folder.string() + " " + words + " < " +
                 m_array.loginFile},
            m_array.folder.string() + "/"};
  }
  // Repeats a command, lets a copy go on to its end, and shows what the array then is.
  std::string finish(const std::string& words) const {
    EXPECT_THAT(m_array.run(words).status, testing::AnyOf(0, 5));
    copyOn();
    if (m_array.ok("copy-status E1 D1").starts_with("state=failed")) {
      m_array.ok("forget E1 D1");
      m_array.ok(words);
      copyOn();
    }
    return m_array.ok("list") + readFile(m_array.image("D1"));
  }
  void copyOn() const {
    for (int i = 0; i < 20 && m_array.ok("copy-status E1 D1").starts_with("state=copying"); ++i) {
    }
  }
  // What the array is after an undisturbed command.
  std::string expected(const std::string& words) const {
    begin();
    return finish(words);
  }

  TempDir m_dir;
  const std::filesystem::path m_template = m_dir.path() / "template";
  FiArray m_array{m_dir.path() / "array"};
  const std::string m_old = std::string(4096, 'o');
  const std::string m_new = std::string(4096, 'n');
};

inline const Names kArrayCommands = {
    "clone E1 D0 D1", "clone E1 D0 D1 --background", "map E1 D0 hosta 1", "unmap E1 D2 hosta",
    "forget E1 D3",   "add-device E1 D9 8K",         "add-enclosure E9"};

// The provider's import of D0, and its deport, each of which can be repeated.
class ArrayImportWork : public ArraySnapTest {
 protected:
  ArrayImportWork() {
    m_array.make(2, "4K");
    import("D1");
    beginMapped();
    beginUnmapped();
  }

  void beginUnmapped() { EXPECT_EQ(deport("D0"), 0) << lastError(); }
  void beginMapped() { EXPECT_NE(import("D0"), "") << lastError(); }

  TracedWork importing() {
    return work([this] { return import("D0").empty() ? m_result : 0; });
  }
  TracedWork deporting() {
    return work([this] { return deport("D0"); });
  }
  // The number under which the array shows D0, "" for none.
  std::string number() const {
    const std::string shown = m_array.ok("list E1 D0");
    const std::size_t at = shown.find("mapping=hosta:");
    return at == std::string::npos ? "" : shown.substr(at + 14, shown.find('\n', at) - at - 14);
  }
  // Once the import is repeated, the array and the cache agree on a number that no other device
  // has.
  void expectAgreement() {
    EXPECT_EQ(import("D0"), m_array.image("D0")) << lastError();
    EXPECT_NE(number(), "");
    EXPECT_EQ(number(), lun("D0"));
    EXPECT_NE(lun("D0"), lun("D1"));
  }

 private:
  TracedWork work(std::function<int()> operation) {
    return TracedWork(std::move(operation), [this] { return lastError(); });
  }
};

// The provider's snapshot of D0 on D1: a case begins without it or with it, on an array that shows
// nothing else.
class ArrayCloneWork : public ArraySnapTest {
 protected:
  ArrayCloneWork() {
    m_array.make(2, "64K");
    m_array.write("D0", m_data);
    EXPECT_EQ(setTarget("D0", "D1"), 0) << lastError();
    m_without = m_array.ok("list");
    beginWith();
    m_with = m_array.ok("list");
  }

  void beginWithout() { EXPECT_EQ(dispose(m_snapshot), 0) << lastError(); }
  void beginWith() {
    beginWithout();
    EXPECT_THAT(make({"D0"}), testing::ElementsAre(m_snapshot)) << lastError();
  }

  TracedWork preparing() {
    return work([this] { return prepare({"D0"}); });
  }
  TracedWork making() {
    return work([this] { return make({"D0"}).empty() ? m_result : 0; });
  }
  TracedWork disposing() {
    return work([this] { return dispose(m_snapshot); });
  }

  // What the array shows.
  std::string shown() const { return m_array.ok("list"); }
  // The source is whole, and whatever is on the target the provider's operations remove it and
  // make it anew.
  void expectOrder() {
    EXPECT_TRUE(readFile(m_array.image("D0")).starts_with(m_data));
    const long before = status(m_snapshot, "D0");
    if (before == orca_pdk::FI_SNAPSHOT_READY) {
      expectWhole();
    }
    beginWithout();
    EXPECT_EQ(shown(), m_without);
    EXPECT_EQ(status(m_snapshot, "D0"), orca_pdk::FI_SNAPSHOT_ABSENT);
    beginWith();
    EXPECT_EQ(shown(), m_with);
    EXPECT_EQ(status(m_snapshot, "D0"), orca_pdk::FI_SNAPSHOT_READY);
    expectWhole();
  }

  const std::string m_data = std::string(40000, 'n');
  const std::string m_snapshot = kPrefix + "D1";
  std::string m_without, m_with;

 private:
  void expectWhole() const {
    EXPECT_EQ(readFile(m_array.image("D1")), readFile(m_array.image("D0")));
  }
  TracedWork work(std::function<int()> operation) {
    return TracedWork(std::move(operation), [this] { return lastError(); });
  }
};

}  // namespace orca_tests

#endif
