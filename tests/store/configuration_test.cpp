#include "cficonfiguration.h"

#include <gtest/gtest.h>

#include <set>
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
  for (const auto& [content, code, kept] : std::vector<std::tuple<std::string, int, std::string>>{
           {good + "[B\n\"k\"=\"w\"\n", -3, "v"},
           {"\"k\"=\"w\"\n" + good, -4, ""},
           {"[]\n\"k\"=\"w\"\n", -4, ""},
           {good + std::string(9000, ' ') + '\0', -4, ""},
           {good + "k=v\n\"k\n=\"w\"\n\"n\"=dword:\n]\n\n", 0, "v"},
           {"[G]\r\n\"k\"=\"v\"\r\n", 0, "v"},
           {"; c\n[G]\n\"k\"=\"w \"x\" y\"\n", 0, "w \"x\" y"},
           {"[G]\n\"k\"=\"v\"", 0, ""}}) {
    CFiConfiguration fresh;
    EXPECT_EQ(import(fresh, content), code) << content;
    EXPECT_EQ(fresh.lastError().code, code);
    value = "";
    EXPECT_EQ(fresh.getStringValue("G", "k", value), kept.empty() ? -1 : 0);
    EXPECT_EQ(value.c_str(), kept) << content;
  }
}

TEST_F(Store, SaysWhyAFileIsNotImported) {
  const char* const noFile = "Configuration path succeeded but no configuration file exists.";
  writeFile(temp.file("there"), "");
  for (const auto& [path, file, message] :
       std::vector<std::tuple<const char*, const char*, const char*>>{
           {nullptr, "a", "Configuration path verification failed"},
           {dir.c_str(), "missing", noFile},
           {temp.path().c_str(), "there", noFile},  // nothing is put between them
           {dir.c_str(), nullptr, "Import of configuration file failed."}}) {
    const CFiConfiguration fresh(path, file, true);
    EXPECT_STREQ(fresh.lastError().message.c_str(), message);
    EXPECT_EQ(fresh.lastError().code, -1);
    EXPECT_STREQ((fresh.lastError().file + ":" + fresh.lastError().function).c_str(),
                 "cficonfiguration:importConfig");
  }
}

TEST_F(Store, ImportsAtConstructionOnlyWhenAskedAndMakesANamedFile) {
  import(config, "[A]\n\"k\"=\"v\"\n");
  EXPECT_EQ(CFiConfiguration(dir.c_str(), "a.conf", false).exportConfig(), 0);
  EXPECT_EQ(readFile(temp.file("a.conf")), "") << "nothing was read";
  const ScopedEnv root("ORCA_INSTALL_ROOT", temp.str().c_str());
  std::filesystem::create_directories(temp.file("lib/orca"));
  EXPECT_EQ(CFiConfiguration(tstr("new")).lastError().code, -1);
  EXPECT_TRUE(std::filesystem::is_regular_file(temp.file("lib/orca/configfiles/new.conf")));
}

TEST_F(Store, AddressesTheSectionThatWasOpenedLastAndKeepsTheOnesThatReadersMissed) {
  EXPECT_EQ(import(config, "[A]\n\"n\"=dword:000001bb\n"), 0);
  EXPECT_EQ(config.setStringValue("k", "v"), -1) << "no section yet";
  ASSERT_EQ(config.openSection("A", key, 1), 0);
  ASSERT_EQ(config.openSection(key, "B", other, 1), 0);
  EXPECT_EQ(config.setIntegerValue("n", 0xFFFFFFFF), 0);
  EXPECT_EQ(config.openSection("C", key, 0), -1);
  EXPECT_EQ(config.getIntegerValue("n", number), 0) << "a failed open moves nothing";
  EXPECT_EQ(config.getIntegerValue("A", "n", number), 0);
  EXPECT_EQ(number, 443U);
  EXPECT_EQ(config.enumerateSections(), std::vector<tstr>{"B"}) << "the reader stays at A";
  EXPECT_EQ(config.getIntegerValue("S\\T", "n", number), -1);
  EXPECT_EQ(config.exportConfig(), 0);
  const std::string written = readFile(temp.file("a.conf"));
  EXPECT_NE(written.find("[S]\n[S\\T]\n"), std::string::npos);
  EXPECT_NE(written.find("[A\\B]\n\"n\"=dword:ffffffff\n"), std::string::npos);
}

TEST_F(Store, RefusesWhatWouldNotReadBackAndReadsBackTheRest) {
  const char* const null = nullptr;
  for (const char* name : {null, "", "\\a", "a\\", "a\\\\b", "a\\/", "[a", "a]", "a\nb"}) {
    EXPECT_EQ(config.openSection(name, key, 1), -1) << (name != nullptr ? name : "null");
  }
  ASSERT_EQ(import(config, "[A]\n"), 0);
  ASSERT_EQ(config.openSection("A", key, 0), 0);
  for (const char* name : {null, "a\\b", "a[", "a\"b", "a\nb"}) {
    EXPECT_EQ(config.setStringValue(name, "v"), -1);
    EXPECT_EQ(config.setIntegerValue(name, 1), -1);
    EXPECT_EQ(config.getStringValue(name, value), -1);
  }
  EXPECT_EQ(config.setStringValue("k", "v\n[Injected]"), -1);
  for (const char* item : {"", " a ", "\"", "x=\"y\"", "\t;#", "]a[2", "dword:1f", "C:\\x"}) {
    EXPECT_EQ(config.setStringValue("k = ;", item), 0);
    ASSERT_EQ(config.exportConfig(), 0);
    EXPECT_EQ(CFiConfiguration(dir.c_str(), "a.conf", true).getStringValue("A", "k = ;", value), 0);
    EXPECT_STREQ(value.c_str(), item);
  }
}

TEST_F(Store, NamesEverySectionOfAMultitudeOnce) {
  std::string content;
  for (int i = 0; i < 10000; ++i) content += "[All\\s" + std::to_string(i) + "]\n";
  ASSERT_EQ(import(config, content), 0);
  ASSERT_EQ(config.openSection("All", key, 0), 0);
  std::set<std::string> names;
  for (const tstr& name : config.enumerateSections(key)) names.insert(name.c_str());
  EXPECT_EQ(names.size(), 10000U);
}

}  // namespace
