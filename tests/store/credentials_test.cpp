#include "cficredentials.h"

#include <fiutil.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>

#include "cficonfiguration.h"
#include "support/trace_recorder.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;

const std::string kHeader = "[STORAGE_MANAGEMENT_SERVICE\\1\\acme-x1]\n";
const std::string kOpen = "[STORAGE_MANAGEMENT_SERVICE\\1\\xOPENARRAYx]\n\"HOSTNAME\"=\"o\"\n";
const std::string kLogin = "\"HOSTNAME\"=\"h\"\n\"USERNAME\"=\"u\"\n\"PASSWORD\"=\"p\"\n";

std::string section(const std::string& name, const std::string& host, const std::string& user) {
  return "[C\\" + name + "]\n\"HOSTNAME\"=\"" + host + "\"\n\"USERNAME\"=\"" + user +
         "\"\n\"PASSWORD\"=\"secret\"\n\"PORT\"=dword:5\n";
}

// "host/user/password/port/data;" for each.
std::string shown(const std::vector<SFiCredential>& credentials) {
  tstr all;
  for (const SFiCredential& item : credentials) {
    all += item.hostname + "/" + item.username + "/" + item.password + "/" +
           std::to_string(item.port).c_str() + "/" + item.data + ";";
  }
  return all.c_str();
}

struct Credentials : PrivateUsrTest {
  std::string parse(const std::string& content, bool openArray = false,
                    const std::string& vendor = "", const std::string& product = "") {
    CFiCredentialsParser parser;
    parser.registerTraceLog(trace.log);
    std::vector<SFiCredential> out;
    trace.messages.clear();
    EXPECT_EQ(parser.parse(content, vendor, product, out, openArray), 0);
    return shown(out);
  }
  std::string warnings() {
    std::istringstream lines(trace.messages);
    std::string all;
    for (std::string line; std::getline(lines, line);) all += line[0] == '2' ? line + "\n" : "";
    return all;
  }
  std::string import(const std::string& content, bool openArray) {
    writeFile(temp.file("c.conf"), content);
    CFiConfiguration config((temp.str() + "/").c_str(), "c.conf", true);
    config.registerTraceLog(trace.log);
    return shown(config.importCredentials("acme", "x1", "C", openArray));
  }
  TempDir temp;
  ScopedEnv text{"ORCA_CREDENTIALS", temp.file("text").c_str()};
  TraceRecorder trace;
};

TEST_F(Credentials, AreReadFromTheSectionsOfAVendorAProductAndAKind) {
  const std::string acme = kHeader + kLogin;
  EXPECT_EQ(parse(acme, false, "acme", "x1"), "h/u/p/-1/;");
  EXPECT_EQ(parse(acme, false, "ACME"), "");
  EXPECT_EQ(parse(acme, false, "acme", "x2"), "");
  EXPECT_EQ(parse(acme + kOpen, true), "o///-1/;");
  EXPECT_EQ(parse(kOpen + acme), "h/u/p/-1/;");
  EXPECT_EQ(trace.messages,
            "4 CFiCredentialsParser::parse - parsing credentails\n"
            "1 INFO: Skipping OPENARRAY credentials section 'xOPENARRAYx'\n"
            "1 INFO: adding array credentials for: vendor , product , server h, username u\n");
}

TEST_F(Credentials, SkipWhatIsMalformedWithItsWarning) {
  const std::array<std::string, 3> cases[] = {
      {"\"PORT\"=dword:443", "h/u/p/443/;", ""},
      {"\"PORT\"=dword:000001bb", "h/u/p/-1/;", "dword value '000001bb' for key section 'PORT"},
      {"\"PORT\"=dword:", "h/u/p/0/;", ""},
      {"HOSTNAME=\"x\"", "h/u/p/-1/;", "credentials section 'HOSTNAME=\"x\""},
      {"\"HOSTNAME\"=\"adword:b\"", "b\"/u/p/-1/;", ""},
      {"no equals sign", "h/u/p/-1/;", ""},
      {"\"DATA\"=", "h/u/p/-1/;", "value '' for key section 'DATA"},
      {"\"DATA\"=\"a=\"b\" c", "h/u/p/-1/a=\"b;", ""}};
  for (const auto& [line, login, warning] : cases) {
    SCOPED_TRACE(line);
    EXPECT_EQ(parse(kHeader + kLogin + line + "\n"), login);
    EXPECT_EQ(warnings(), warning.empty() ? "" : "2 WARNING: Invalid " + warning + "'\n");
  }
}

TEST_F(Credentials, TakeALineWithBothBracketsForAHeader) {
  for (const std::string line : {"[STORAGE_MANAGEMENT_SERVICE\\1]", "[OTHER\\1\\a]", "][",
                                 "[STORAGE_MANAGEMENT_SERVICE\\1\\a b]", "\"DATA\"=\"[x]\""}) {
    EXPECT_EQ(parse(kHeader + kLogin + line + "\n" + kLogin), "h/u/p/-1/;") << line;
  }
  EXPECT_EQ(parse("]storage_management_service 1 a[\r\n" + kLogin), "h/u/p/-1/;");
}

TEST_F(Credentials, DropAnIncompleteRecordWithAWarningOnlyAtTheEnd) {
  const std::string whole = kHeader + kLogin;
  for (size_t length = kHeader.size(); length < whole.size() - 1; ++length) {
    SCOPED_TRACE(whole.substr(0, length));
    EXPECT_EQ(parse(whole.substr(0, length), false, "acme"), "");
    const std::string last = "2 WARNING: skipping invalid credentials for vendor acme\n";
    EXPECT_EQ(warnings().substr(std::max(warnings().size(), last.size()) - last.size()), last);
  }
  EXPECT_EQ(parse(kHeader + "\"HOSTNAME\"=\"x\"\n" + whole), "h/u/p/-1/;");
  EXPECT_EQ(warnings(), "");
}

TEST_F(Credentials, AnswerForTheFrameworksText) {
  std::vector<SFiCredential> out;
  EXPECT_EQ(CFiCredentialsParser().parse("", "", out, false), 0);
  writeFile(temp.file("text"), "");
  EXPECT_EQ(CFiCredentialsParser().parse("", "", out, false), 31);
}

TEST_F(Credentials, AreNotAwaitedFromAFifo) {
  mkfifo(temp.file("text").c_str(), 0600);
  char* blob = nullptr;
  EXPECT_EQ(orca_get_credential_blob(&blob), -1);
  EXPECT_EQ(import(section("a", "h1", "u1"), false), "h1/u1/secret/-1/;");
}

TEST_F(Credentials, AreImportedFromTheCompleteSubSectionsOfTheKind) {
  const std::string content = section("a", "h1", "u1") + section("OPENARRAY", "h2", "u2") +
                              section("b", "", "u3") + section("c", "h4", "<none>") + "[D\\e]\n";
  EXPECT_EQ(import(content, false), "h1/u1/secret/-1/;");
  EXPECT_EQ(import(content, true), "h2/u2/secret/-1/;");
  EXPECT_EQ(import("", false), "");
  EXPECT_EQ(warnings(), "2 WARNING: No credentials found for acme x1.\n");
}

TEST_F(Credentials, AreImportedOnceForAHostOfTheHeapBehindAllOfTheFrameworksText) {
  writeFile(temp.file("text"), kHeader + kLogin + "\"PORT\"=dword:7\n" + kHeader + kLogin);
  EXPECT_EQ(import(section("a", "H", "u") + section("b", "y", "u") + section("c", "y", "u"), false),
            "h/u/p/7/;h/u/p/-1/;y/u/secret/-1/;");
}

}  // namespace
