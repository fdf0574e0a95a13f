#include <gtest/gtest.h>

#include <set>

#include "cficonfiguration.h"
#include "support/trace_recorder.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;

std::string section(const std::string& name, const std::string& host, const std::string& user) {
  return "[C\\" + name + "]\n\"HOSTNAME\"=\"" + host + "\"\n\"USERNAME\"=\"" + user +
         "\"\n\"PASSWORD\"=\"secret\"\n\"PORT\"=dword:5\n";
}

struct Import : ::testing::Test {
  // The imported credentials as "host/user/port".
  std::multiset<std::string> import(const std::string& content, bool openArray) {
    writeFile(temp.file("c.conf"), content);
    CFiConfiguration config((temp.str() + "/").c_str(), "c.conf", true);
    config.registerTraceLog(trace.log);
    std::multiset<std::string> result;
    for (const SFiCredential& item : config.importCredentials("acme", "x1", "C", openArray)) {
      result.insert((item.hostname + "/" + item.username).c_str() +
                    ("/" + std::to_string(item.port)));
    }
    return result;
  }
  using Records = std::multiset<std::string>;
  TempDir temp;
  ScopedEnv text{"ORCA_CREDENTIALS", temp.file("text").c_str()};
  TraceRecorder trace;
};

TEST_F(Import, TakesTheCompleteSubSectionsOfTheKind) {
  const std::string content = section("a", "h1", "u1") + section("OPENARRAY", "h2", "u2") +
                              section("b", "", "u3") + section("c", "h4", "<none>") + "[D\\e]\n";
  EXPECT_EQ(import(content, false), Records{"h1/u1/-1"});
  EXPECT_EQ(import(content, true), Records{"h2/u2/-1"});
}

TEST_F(Import, TakesAHostOfTheHeapOnceAndAllOfTheFrameworksText) {
  const std::string login =
      "[STORAGE_MANAGEMENT_SERVICE\\1\\acme-x1]\n\"HOSTNAME\"=\"Z\"\n"
      "\"USERNAME\"=\"t\"\n\"PASSWORD\"=\"p\"\n";
  writeFile(temp.file("text"), login + "\"PORT\"=dword:7\n" + login);
  EXPECT_EQ(import(section("a", "z", "u") + section("b", "y", "u") + section("c", "y", "u"), false),
            (Records{"Z/t/-1", "Z/t/7", "y/u/-1"}));
}

TEST_F(Import, TracesEachStep) {
  import(section("a", "h", "u"), false);
  const std::string& all = trace.messages;
  EXPECT_EQ(all.find("4 Entering Function importCredentials ["), 0U);
  EXPECT_EQ(all.substr(all.find('\n') + 1, all.rfind("4 Exiting") - all.find('\n') - 1),
            "1  CFiCredentialsParser::parse - No credentials found.\n"
            "1 CFiConfiguration::importCredentials - inside opensection\n"
            "1 CFiConfiguration::importCredentials - found [1] subsections.\n"
            "1 CFiConfiguration::importCredentials - opening subsection [a].\n"
            "1 CFiConfiguration::importCredentials -inside open subsection [a].\n"
            "1 Importing credentials section [a]\n1 Found cred.password as [secret].\n"
            "1 Found cred.username as [u].\n1 Found cred.hostname as [h].\n"
            "1 Checking if credentails alreadt added for [h]\n"
            "1 INFO: 1 credentials found for acme x1.\n");
  import("[C\\OPENARRAY]\n", false);
  EXPECT_NE(all.find("1 Skipping credentials section [OPENARRAY]\n"
                     "2 WARNING: No credentials found for acme x1.\n4 Exiting"),
            std::string::npos);
}

}  // namespace
