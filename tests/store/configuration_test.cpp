#include "cficonfiguration.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/temp_dir.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;

// A configuration in a folder of its own.
struct Store : ::testing::Test {
  int import(CFiConfiguration& into, const std::string& content) {
    writeFile(temp.file("a.conf"), content);
    return into.importConfig(dir.c_str(), "a.conf");
  }
  TempDir temp;
  std::string dir = temp.str() + "/";
  CFiConfiguration config;
  ACE_Configuration_Section_Key key, other;
  tstr value;
  unsigned int number = 0;
};

TEST_F(Store, AnswersMalformedFilesWithTheImportersCodeAndKeepsWhatStoodBefore) {
  const std::string good = "[G]\n\"k\"=\"v\"\n";
  const std::tuple<std::string, int, std::string> cases[] = {
      {good + "[B\n\"k\"=\"w\"\n", -3, "v"},
      {"\"k\"=\"w\"\n" + good, -4, ""},
      {good + std::string(9000, ' ') + '\0', -4, ""},
      {good + "k=v\n\"k\n=\"w\"\n\"n\"=dword:\n]\n\n", 0, "v"},
      {"; c\n[G]\n\"k\"=\"w \"x\" y\"\n", 0, "w \"x\" y"},
      {"[G]\n\"k\"=\"v\"", 0, ""}};
  for (const auto& [content, code, kept] : cases) {
    CFiConfiguration fresh;
    EXPECT_EQ(import(fresh, content), code) << content;
    value = "";
    EXPECT_EQ(fresh.getStringValue("G", "k", value), kept.empty() ? -1 : 0);
    EXPECT_EQ(value.c_str(), kept) << content;
  }
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

TEST_F(Store, AddressesTheSectionThatWasOpenedLastAndKeepsTheOnesThatReadersMissed) {
  EXPECT_EQ(import(config, "[A]\n\"n\"=dword:000001bb\n"), 0);
  EXPECT_EQ(config.setStringValue("k", "v"), -1) << "no section yet";
  ASSERT_EQ(config.openSection("A", key, 1), 0);
  ASSERT_EQ(config.openSection(key, "B", other, 1), 0);
  EXPECT_EQ(config.setIntegerValue("n", 0xFFFFFFFF), 0);
  EXPECT_EQ(config.openSection("C", key, 0), -1);
  EXPECT_EQ(config.getIntegerValue("n", number), 0) << "a failed open moves nothing";
  EXPECT_TRUE(config.getIntegerValue("A", "n", number) == 0 && number == 443);
  EXPECT_EQ(config.enumerateSections(), std::vector<tstr>{"B"}) << "the reader stays at A";
  EXPECT_EQ(config.getIntegerValue("S\\T", "n", number), -1);
  EXPECT_EQ(config.exportConfig(), 0);
  const std::string written = readFile(temp.file("a.conf"));
  EXPECT_NE(written.find("[S]\n[S\\T]\n"), std::string::npos);
  EXPECT_NE(written.find("[A\\B]\n\"n\"=dword:ffffffff\n"), std::string::npos);
}

TEST_F(Store, RefusesWhatWouldNotReadBackAndReadsBackTheRest) {
  const char* const null = nullptr;
  for (const char* name : {"", "\\a", "a\\", "a\\\\b", "[a", "a]", "a\nb", null}) {
    EXPECT_EQ(config.openSection(name, key, 1), -1) << testing::PrintToString(name);
  }
  ASSERT_TRUE(import(config, "[A]\n") == 0 && config.openSection("A", key, 0) == 0);
  for (const char* name : {"a\\b", "a[", "a\"b", "a\nb", null}) {
    EXPECT_EQ(config.setStringValue(name, "v") + config.setIntegerValue(name, 1), -2);
  }
  EXPECT_EQ(config.setStringValue("k", "v\n[Injected]"), -1);
  for (const char* item : {"", " a ", "\"", "x=\"y\"", "\t;#", "]a[2", "dword:1f", "C:\\x"}) {
    EXPECT_EQ(config.setStringValue("k = ;", item), 0);
    ASSERT_EQ(config.exportConfig(), 0);
    EXPECT_EQ(CFiConfiguration(dir.c_str(), "a.conf", true).getStringValue("A", "k = ;", value), 0);
    EXPECT_STREQ(value.c_str(), item);
  }
}

}  // namespace
