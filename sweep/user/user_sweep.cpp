// What another user may have put where root works.

#include <sys/stat.h>
#include <unistd.h>

#include "cficonfiguration.h"
#include "cficredentials.h"
#include "cfipblm.h"
#include "cfitracelog.h"
#include "examples/filesnap_fixture.h"
#include "support/points.h"

namespace orca_tests {
namespace {

constexpr char kSecret[] = "1 what only root may write";
constexpr unsigned kSeconds = 20;  // then a call hangs

// A folder of the user's, in which a thing is planted where root's process will look.
class SecondUser : public FileSnapTest {
 protected:
  void SetUp() override {
    writeFile(m_victim, kSecret);
    std::filesystem::create_directory(m_theirs);
    chmod(m_dir.path().c_str(), 0755);
    if (!own(m_theirs) || chmod(m_theirs.c_str(), 0777) != 0) {
      GTEST_SKIP() << "only root can give files to another user";
    }
  }

  static bool own(const std::string& path) { return lchown(path.c_str(), kUser, kUser) == 0; }

  struct Plant {
    const char* name;
    std::function<void(const std::string& path)> make;
  };
  std::vector<Plant> plants() const {
    return {{"a FIFO", [](const auto& path) { mkfifo(path.c_str(), 0666); }},
            {"a link", [this](const auto& path) { symlink(m_victim.c_str(), path.c_str()); }},
            {"a second name", [this](const auto& path) { link(m_victim.c_str(), path.c_str()); }},
            {"a link to nothing",
             [this](const auto& path) { symlink((m_victim + "-new").c_str(), path.c_str()); }},
            {"a link to a device", [](const auto& path) { symlink("/dev/zero", path.c_str()); }},
            {"a folder", [](const auto& path) { mkdir(path.c_str(), 0777); }},
            {"a file", [](const auto& path) { writeFile(path, "theirs"); }}};
  }

  // Does something as root with each plant at a path: it comes to an end, and nothing of root's or
  // of the user's has changed.
  void sweep(const std::string& name, const std::string& path,
             const std::function<void()>& action) const {
    const std::vector<Plant> all = plants();
    for (const std::size_t point : sweepPoints(name, all.size())) {
      SCOPED_TRACE(name + ": " + all[point].name);
      std::filesystem::remove_all(path);
      all[point].make(path);
      if (std::string(all[point].name) != "a second name") own(path);
      inChild([&] {
        alarm(kSeconds);
        action();
      });
      EXPECT_EQ(readFile(m_victim), kSecret);
      EXPECT_FALSE(std::filesystem::exists(m_victim + "-new")) << "made through a link";
      if (std::string(all[point].name) == "a file") {
        EXPECT_EQ(readFile(path), "theirs");
      }
      std::filesystem::remove_all(path);
    }
  }

  const std::string m_victim = m_dir.file("victim"), m_theirs = m_dir.file("theirs");
};

TEST_F(SecondUser, GetsNoTracedLine) {
  const auto trace = [this] {
    for (int i = 0; i < 2; ++i) {  // the first makes the settings and stays off
      const orca_pdk::CFiTraceLogPtr log(new orca_pdk::CFiTraceLog);
      log->initialize("second", m_theirs.c_str(), "unit.log", 6, false);
      log->trace(1, "a line of root's");
    }
  };
  std::filesystem::create_directories(m_root / "lib/orca/configfiles");
  trace();
  const Names made = contents(m_theirs);
  ASSERT_EQ(made.size(), 1U) << "the trace file";
  sweep("trace file", made[0], trace);
}

TEST_F(SecondUser, HoldsNoConfigurationUp) {
  sweep("configuration file", m_theirs + "/c.conf", [this] {
    orca_pdk::CFiConfiguration config((m_theirs + "/").c_str(), "c.conf", true);
    ACE_Configuration_Section_Key key;
    config.openSection("SECTION", key, 0);
  });
}

TEST_F(SecondUser, HoldsNoCredentialsUp) {
  const ScopedEnv credentials("ORCA_CREDENTIALS", (m_theirs + "/login").c_str());
  sweep("credentials", m_theirs + "/login", [] {
    std::vector<orca_pdk::SFiCredential> out;
    orca_pdk::CFiCredentialsParser().parse("", "", out, false);
    EXPECT_EQ(out.size(), 0U);
  });
}

TEST_F(SecondUser, HoldsNoLunCacheUp) {
  const std::string folder = (m_root / "lib/orca/cachefiles/luns/E1").string();
  std::filesystem::create_directories(folder);
  sweep("LUN record", folder + "/UDID##V##P##E1##D", [] {
    std::vector<std::string> out;
    orca_pdk::CFiPblmOps().getNewValue("E1", out);
    EXPECT_GT(out.size(), 200U);
  });
}

TEST_F(SecondUser, GetsNoSnapshot) {
  ASSERT_EQ(chown(m_data.c_str(), 0, 0), 0);
  sweep("snapshot folder", m_folder, [this] {
    EXPECT_EQ(prepare({m_file}), 6);
    EXPECT_THAT(make({m_file}), testing::IsEmpty());
  });
  const std::string made = snapshot();
  for (const std::string part : {"", "/info", "/data"}) {
    std::filesystem::rename(made + part, m_dir.file("aside"));
    sweep("snapshot" + part, made + part, [&] {
      EXPECT_EQ(restore(m_file, made), 1);
      EXPECT_EQ(readFile(m_file), m_content);
    });
    std::filesystem::rename(m_dir.file("aside"), made + part);
  }
  EXPECT_EQ(status(made), 8);
}

}  // namespace
}  // namespace orca_tests
