#include "cficredentials.h"

#include <gtest/gtest.h>

#include <array>

#include "support/trace_recorder.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;

const std::string kHeader = "[STORAGE_MANAGEMENT_SERVICE\\1\\acme-x1]\n";
const std::string kOpen = "[STORAGE_MANAGEMENT_SERVICE\\1\\xOPENARRAYx]\n\"HOSTNAME\"=\"o\"\n";
const std::string kLogin = "\"HOSTNAME\"=\"h\"\n\"USERNAME\"=\"u\"\n\"PASSWORD\"=\"p\"\n";
const std::string kStart = "4 CFiCredentialsParser::parse - parsing credentails\n";

std::string added(const std::string& vendorAndProduct, const std::string& login) {
  return "1 INFO: adding array credentials for: vendor " + vendorAndProduct + ", server " + login;
}

// The credentials as "host/user/password/port/data;", then the lines of the trace.
std::string parse(const std::string& text, bool openArray = false, const std::string& vendor = "",
                  const std::string& product = "") {
  TraceRecorder trace;
  CFiCredentialsParser parser;
  parser.registerTraceLog(trace.log);
  std::vector<SFiCredential> out;
  EXPECT_EQ(parser.parse(text, vendor, product, out, openArray), 0);
  EXPECT_EQ(trace.messages.find(kStart), 0U);
  tstr result;
  for (const SFiCredential& item : out) {
    result += item.hostname + "/" + item.username + "/" + item.password + "/" +
              std::to_string(item.port).c_str() + "/" + item.data + ";";
  }
  return result.c_str() + trace.messages.substr(kStart.size());
}

const std::string kAdded = added(", product ", "h, username u\n");

TEST(Credentials, AreReadFromTheSectionsOfAVendorAProductAndAKind) {
  const std::string text = kHeader + kLogin;
  EXPECT_EQ(parse(text, false, "acme", "x1"),
            "h/u/p/-1/;" + added("acme, product x1", "h, username u\n"));
  EXPECT_EQ(parse(text, false, "ACME"), "");
  EXPECT_EQ(parse(text, false, "acme", "x2"), "");
  EXPECT_EQ(parse(kOpen + text),
            "h/u/p/-1/;1 INFO: Skipping OPENARRAY credentials section 'xOPENARRAYx'\n" + kAdded);
  EXPECT_EQ(parse(text + kOpen, true),
            "o///-1/;1 INFO: Skipping non OPENARRAY credentials section 'acme-x1'\n" +
                added(", product ", "o, username \n"));
}

TEST(Credentials, SkipWhatIsMalformedWithItsWarning) {
  for (const std::array<std::string, 3>& item : std::vector<std::array<std::string, 3>>{
           {"\"PORT\"=dword:443", "h/u/p/443/;", ""},
           {"\"PORT\"=dword:000001bb", "h/u/p/-1/;", "dword value '000001bb' for key"},
           {"\"PORT\"=dword:44\r", "h/u/p/-1/;", "dword value '44\r' for key"},
           {"\"PORT\"=\"80\"", "h/u/p/80/;", ""},
           {"\"PORT\"=dword:", "h/u/p/0/;", ""},
           {"\"PORT\"=80", "h/u/p/-1/;", "value '80' for key"},
           {"\"PORT\"=\"80", "h/u/p/-1/;", "value '\"80' for key"},
           {"HOSTNAME=\"x\"", "h/u/p/-1/;", "credentials"},
           {"\"HOSTNAME\"=\"adword:b\"", "b\"/u/p/-1/;", ""},
           {"\"hostname\"=\"x\"", "h/u/p/-1/;", ""},
           {"no equals sign", "h/u/p/-1/;", ""},
           {"\"DATA\"=\"a=\"b\" c", "h/u/p/-1/a=\"b;", ""}}) {
    const std::string subject = item[2] == "credentials" ? item[0] : "PORT";
    std::string wanted = item[1];
    if (!item[2].empty())
      wanted += "2 WARNING: Invalid " + item[2] + " section '" + subject + "'\n";
    wanted += added(", product ", item[1].substr(0, item[1].find('/')) + ", username u\n");
    EXPECT_EQ(parse(kHeader + kLogin + item[0] + "\n"), wanted) << item[0];
  }
}

TEST(Credentials, TakeALineWithBothBracketsForAHeader) {
  for (const char* header : {"[STORAGE_MANAGEMENT_SERVICE\\1]", "[OTHER\\1\\a]", "[]", "][",
                             "[STORAGE_MANAGEMENT_SERVICE\\1\\a b]", "\"DATA\"=\"[x]\""}) {
    EXPECT_EQ(parse(kHeader + kLogin + header + "\n" + kLogin), "h/u/p/-1/;" + kAdded) << header;
  }
  for (const char* header :
       {"]storage_management_service 1 a[", "[STORAGE_MANAGEMENT_SERVICE\\\\1]a\r"}) {
    EXPECT_EQ(parse(header + ("\n" + kLogin)), "h/u/p/-1/;" + kAdded) << header;
  }
}

TEST(Credentials, DropAnIncompleteRecordSilentlyAtAHeaderAndWithAWarningAtTheEnd) {
  const std::string part = kHeader + "\"HOSTNAME\"=\"h\"\n";
  EXPECT_EQ(parse(part + kHeader + kLogin), "h/u/p/-1/;" + kAdded);
  EXPECT_EQ(parse(part, false, "acme"),
            "2 WARNING: skipping invalid credentials for vendor acme\n");
}

TEST(Credentials, AreNeverMadeUpFromATextCutAnywhere) {
  std::string text = kHeader + kLogin;
  for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
    text.insert(at, "\r");
  for (size_t length = 0; length <= text.size(); ++length) {
    std::vector<SFiCredential> out;
    CFiCredentialsParser().parse(text.substr(0, length), "", "", out, false);
    EXPECT_EQ(out.size(), length >= text.size() - 2 ? 1U : 0U) << length;
  }
}

TEST(Credentials, LoseTheirQuotesByPosition) {
  for (const auto& [text, wanted] :
       std::vector<std::pair<std::string, std::string>>{{"\"abc\" x", "abc"},
                                                        {"x\"", ""},
                                                        {"\"a\"b\"c", "a\"b"},
                                                        {"\"abc", "refused"},
                                                        {"", "refused"}}) {
    std::string copy = text;
    const bool isDone = CFiCredentialsParser().removeQuotes(copy);
    EXPECT_EQ(copy, isDone ? wanted : text);
    EXPECT_EQ(isDone, wanted != "refused") << text;
  }
}

TEST(Credentials, ComeFromTheFrameworksTextUnlessThereIsNone) {
  const TempDir temp;
  TraceRecorder trace;
  CFiCredentialsParser parser;
  parser.registerTraceLog(trace.log);
  std::vector<SFiCredential> out;
  const ScopedEnv none("ORCA_CREDENTIALS", temp.file("text").c_str());
  EXPECT_EQ(parser.parse("", "", out, false), 0);
  EXPECT_EQ(trace.messages, "1  CFiCredentialsParser::parse - No credentials found.\n");
  writeFile(temp.file("text"), "");
  EXPECT_EQ(parser.parse("", "", out, false), 31);
  std::string text;
  for (int i = 0; i < 10000; ++i) text += kHeader + kLogin;
  writeFile(temp.file("text"), text);
  EXPECT_EQ(CFiCredentialsParser().parse("acme", "", out, false), 0);
  EXPECT_EQ(out.size(), 10000U);
}

}  // namespace
