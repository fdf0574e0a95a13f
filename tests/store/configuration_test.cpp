#include "cficonfiguration.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <tuple>

#include "support/temp_dir.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;

// A configuration in a folder of its own.
struct Store : ::testing::Test {
  int import(CFiConfiguration& into, const std::string& content) {
    writeFile(temp.file("a.conf"), content);
    errno = ENOMEM;  // of another time
    return into.importConfig(dir.c_str(), "a.conf");
  }
  // A section of one value, opened.
  void fill(const tstr& text) {
    ASSERT_EQ(config.openSection("A", key, 1), 0);
    ASSERT_EQ(config.setStringValue("k", text), 0);
  }
  TempDir temp;
  std::string dir = temp.str() + "/";
  CFiConfiguration config;
  ACE_Configuration_Section_Key key, other;
  tstr value;
  unsigned int number = 0;
};

TEST_F(Store, AnswersAFileWithTheImportersCodeAndKeepsWhatCouldBeRead) {
  const std::string good = "[G]\n\"k\"=\"v\"\n";
  const std::tuple<std::string, int, std::string> cases[] = {
      {good + "[B\n\"k\"=\"w\"\n", -3, "v"},
      {"\"k\"=\"w\"\n" + good, -4, ""},
      {good + std::string(9000, ' ') + '\0' + "\n", 0, "v"},
      {good + "k=v\n\"k\n=\"w\"\n\"n\"=dword:\n]\n\n", 0, "v"},
      {"; c\n[G]\n\"k\"=\"w \"x\" y\"\n", 0, "w \"x\" y"},
      {"[G]\n\"k\"=\"v\"", 0, ""}};
  for (const auto& [content, code, kept] : cases) {
    SCOPED_TRACE(content);
    CFiConfiguration fresh;
    EXPECT_EQ(import(fresh, content), code);
    value = "";
    EXPECT_EQ(fresh.getStringValue("G", "k", value), kept.empty() ? -1 : 0);
    EXPECT_EQ(value.c_str(), kept);
  }
}

TEST_F(Store, RefusesMoreThanAHundredLevels) {
  std::string name = "a";
  for (int level = 2; level <= 100; ++level) name += "\\a";
  EXPECT_EQ(import(config, "[" + name + "]\n\"k\"=\"v\"\n"), 0);
  EXPECT_EQ(config.getStringValue(name.c_str(), "k", value), 0);
  ASSERT_EQ(config.openSection(name.c_str(), key, 0), 0);
  EXPECT_EQ(config.openSection(key, "a", other, 1), -1);
  EXPECT_EQ(config.openSection((name + "/a").c_str(), other, 1), -1) << "a level once it is read";
  EXPECT_EQ(config.exportConfig(), 0);
  EXPECT_EQ(import(config, "[" + name + "\\a]\n"), -3);
  EXPECT_STREQ(config.lastError().message.c_str(), "Import of configuration file failed.");
}

TEST_F(Store, RefusesWhatIsNoRegularFile) {
  const std::string fifo = temp.file("fifo");
  mkfifo(fifo.c_str(), 0600);
  std::filesystem::create_symlink("/dev/zero", temp.file("zero"));
  for (const char* name : {"fifo", "zero"}) {
    EXPECT_EQ(config.importConfig(dir.c_str(), name), -1) << name;
    EXPECT_STREQ(config.lastError().message.c_str(), "Import of configuration file failed.");
    EXPECT_EQ(config.exportConfig(), -1) << name;
  }
  EXPECT_TRUE(std::filesystem::is_fifo(fifo));
}

TEST_F(Store, LeavesTheOldFileWholeWhenItCannotBeWritten) {
  import(config, "[A]\n");
  fill(std::string(10000, 'x').c_str());
  signal(SIGXFSZ, SIG_IGN);
  rlimit old;
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit full = {5000, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  EXPECT_LT(config.exportConfig(), 0);
  setrlimit(RLIMIT_FSIZE, &old);
  EXPECT_EQ(readFile(temp.file("a.conf")), "[A]\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);
}

TEST_F(Store, ReplacesTheTargetOfALink) {
  import(config, "[A]\n");
  fill("v");
  std::filesystem::create_symlink("a.conf", temp.file("link"));
  chmod(temp.file("a.conf").c_str(), 0604);
  EXPECT_EQ(config.importConfig(dir.c_str(), "link"), 0);
  writeFile(temp.file(".new-999999999-1"), "of a process that is gone");
  EXPECT_EQ(config.exportConfig(), 0);
  EXPECT_FALSE(std::filesystem::exists(temp.file(".new-999999999-1")));
  EXPECT_TRUE(std::filesystem::is_symlink(temp.file("link")));
  EXPECT_EQ(readFile(temp.file("a.conf")), "[A]\n\"k\"=\"v\"\n");
  EXPECT_EQ(std::filesystem::status(temp.file("a.conf")).permissions(),
            std::filesystem::perms(0604));
}

TEST_F(Store, KeepsAFileThatItCouldNotImportBesideTheOneThatReplacesIt) {
  const ScopedEnv root("ORCA_INSTALL_ROOT", temp.str().c_str());
  const std::string path = temp.file("lib/orca/configfiles/a.conf"), kept = path + ".rejected";
  std::filesystem::create_directories(temp.file("lib/orca/configfiles"));
  EXPECT_EQ(CFiConfiguration(tstr("a")).lastError().code, -1) << "there is no file yet";
  EXPECT_TRUE(std::filesystem::exists(path));
  EXPECT_FALSE(std::filesystem::exists(kept));
  for (const char* bad : {"[A]\n[secret\n", "[B]\n[secret\n"}) {
    SCOPED_TRACE(bad);
    writeFile(path, bad);
    EXPECT_EQ(CFiConfiguration(tstr("a")).lastError().code, -3);
    EXPECT_EQ(readFile(path), std::string(bad, 4));
    EXPECT_EQ(readFile(kept), bad);
    EXPECT_EQ(std::filesystem::status(kept).permissions(), std::filesystem::perms(0600));
  }
  std::filesystem::remove(kept);
  std::filesystem::create_directory(kept);
  writeFile(path, "[secret\n");
  EXPECT_EQ(CFiConfiguration(tstr("a")).exportConfig(), -1);
  EXPECT_EQ(readFile(path), "[secret\n") << "what cannot be kept is not written over";
}

TEST_F(Store, SaysWhyAFileIsNotImported) {
  const auto failure = [](const char* path, const char* file) -> std::string {
    const auto error = CFiConfiguration(path, file, true).lastError();
    return (error.file + ":" + error.function + ":" + error.message).c_str() +
           std::to_string(error.code);
  };
  const std::string at = "cficonfiguration:importConfig:Configuration path ";
  const std::string noFile = at + "succeeded but no configuration file exists.-1";
  EXPECT_EQ(failure(nullptr, "a"), at + "verification failed-1");
  EXPECT_EQ(failure(dir.c_str(), "missing"), noFile);
  writeFile(temp.file("there"), "");
  EXPECT_EQ(failure(temp.path().c_str(), "there"), noFile) << "nothing is put between them";
  EXPECT_EQ(failure(dir.c_str(), nullptr),
            "cficonfiguration:importConfig:Import of configuration file failed.-1");
}

TEST_F(Store, ImportsAtConstructionOnlyWhenAsked) {
  import(config, "[A]\n\"k\"=\"v\"\n");
  EXPECT_EQ(CFiConfiguration(dir.c_str(), "a.conf", false).exportConfig(), 0);
  EXPECT_EQ(readFile(temp.file("a.conf")), "") << "nothing was read";
}

TEST_F(Store, AddressesTheSectionThatWasOpenedLast) {
  EXPECT_EQ(import(config, "[A]\n\"n\"=dword:000001bb\n"), 0);
  EXPECT_EQ(config.setStringValue("k", "v"), -1) << "no section yet";
  ASSERT_EQ(config.openSection("A", key, 1), 0);
  ASSERT_EQ(config.openSection(key, "B", other, 1), 0);
  EXPECT_EQ(config.setIntegerValue("n", 0xFFFFFFFF), 0);
  EXPECT_EQ(config.openSection("C", key, 0), -1);
  EXPECT_EQ(config.getIntegerValue("n", number), 0) << "a failed open moves nothing";
  EXPECT_EQ(number, 0xFFFFFFFF);
  EXPECT_EQ(config.getIntegerValue("A", "n", number), 0);
  EXPECT_EQ(number, 443u);
  EXPECT_EQ(config.enumerateSections(), std::vector<tstr>{"B"}) << "the reader stays at A";
}

TEST_F(Store, KeepsTheSectionsThatReadersMissed) {
  EXPECT_EQ(import(config, ""), 0);
  EXPECT_EQ(config.getIntegerValue("S\\T", "n", number), -1);
  EXPECT_EQ(config.getStringValue("A", "k", value), -1);
  EXPECT_EQ(config.setIntegerValue("n", 0xFFFFFFFF), 0);
  EXPECT_EQ(config.exportConfig(), 0);
  const std::string written = readFile(temp.file("a.conf"));
  EXPECT_NE(written.find("[S]\n[S\\T]\n"), written.npos) << written;
  EXPECT_NE(written.find("[A]\n\"n\"=dword:ffffffff\n"), written.npos) << written;
}

TEST_F(Store, RefusesWhatWouldNotReadBack) {
  const char* const null = nullptr;
  for (const char* name : {"", "\\a", "a\\", "a\\\\b", "[a", "a]", "a\nb", null}) {
    EXPECT_EQ(config.openSection(name, key, 1), -1) << testing::PrintToString(name);
  }
  fill("");
  for (const char* name : {"", "a\\b", "a[", "a\"b", "a\nb", null}) {
    EXPECT_EQ(config.setStringValue(name, "v"), -1) << testing::PrintToString(name);
    EXPECT_EQ(config.setIntegerValue(name, 1), -1) << testing::PrintToString(name);
  }
  EXPECT_EQ(config.getStringValue(null, value), -1);
  EXPECT_EQ(config.getIntegerValue(null, number), -1);
  for (const tstr& text : {tstr("v\n[Injected]"), tstr("v\r"), tstr("v\0w", 3)}) {
    EXPECT_EQ(config.setStringValue("k", text), -1) << text.c_str();
  }
}

TEST_F(Store, ReadsBackWhatItTook) {
  import(config, "[A]\n");
  ASSERT_EQ(config.openSection("A", key, 0), 0);
  for (const char* item : {"", " a ", "\"", "x=\"y\"", "\t;#", "]a[2", "dword:1f", "C:\\x"}) {
    EXPECT_EQ(config.setStringValue("k = ;", item), 0);
    ASSERT_EQ(config.exportConfig(), 0);
    EXPECT_EQ(CFiConfiguration(dir.c_str(), "a.conf", true).getStringValue("A", "k = ;", value), 0);
    EXPECT_STREQ(value.c_str(), item);
  }
}

}  // namespace
