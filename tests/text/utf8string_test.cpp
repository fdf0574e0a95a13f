#include "cfiutf8string.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Halcyon::Keystone::Framework::pattern;
using Halcyon::Keystone::Framework::utf8Bytes;
using Halcyon::Keystone::Framework::UTF8Char_t;
using Halcyon::Keystone::Framework::UTF8String;

UTF8String text(const std::string& bytes) {
  UTF8String result;
  result.append(bytes.data(), static_cast<int>(bytes.size()));
  return result;
}

std::string allBytes(const UTF8String& string) {
  const orca_pdk_4_4::tstr bytes = string.t_str();
  return std::string(bytes.c_str(), bytes.length());
}

TEST(Utf8String, CountsTheBytesThatFollowEachLeadByte) {
  const int firstWith[] = {0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE};
  for (int byte = 0; byte < 256; ++byte) {
    const auto following = std::upper_bound(firstWith, firstWith + 7, byte) - firstWith - 1;
    EXPECT_EQ(utf8Bytes[byte], following % 6) << byte;
  }
  EXPECT_THAT(pattern, testing::ElementsAre(0, 0xC0, 0xC80, 0xC880, 0xC8880, 0xC88880));
}

TEST(Utf8String, HasExactlyOneTerminatorOnceSomethingWasAppended) {
  UTF8String string;
  EXPECT_EQ(allBytes(string), "");
  EXPECT_EQ(string.length(), 0u);
  EXPECT_EQ(string[3], 0u);
  EXPECT_TRUE(string.ascii());
  EXPECT_TRUE(string.u_str().isEmpty());
  string.append("ab", 2);
  EXPECT_EQ(allBytes(string), std::string("ab\0", 3));
  string.append("x", -1);
  string.append(nullptr, 1);
  string.append(std::vector<char>{'c', 'd'});
  string.append(icu::UnicodeString::fromUTF8("\xE2\x82\xAC"));
  string.append(ACE_String_Base<wchar_t>(L"\x1F600"));
  EXPECT_EQ(allBytes(string), std::string("abcd\xE2\x82\xAC\xF0\x9F\x98\x80\0", 12));
}

TEST(Utf8String, AppendsNumbersInEveryRadixFromTwo) {
  const struct {
    int value, radix;
    std::string digits;
  } cases[] = {{5, 2, "101"}, {-42, 10, "-42"}, {INT_MAX, 16, "7fffffff"}, {35, 36, "z"},
               {36, 37, "{"}, {999, 1000, ">"}, {INT_MAX, INT_MAX, "10"},  {5, 1, ""},
               {5, 0, ""},    {5, INT_MIN, ""}};
  for (const auto& c : cases) {
    UTF8String string = text("=");
    string.append(c.value, c.radix);
    EXPECT_EQ(allBytes(string), "=" + c.digits + '\0') << c.value << " in " << c.radix;
  }
}

TEST(Utf8String, GivesTheOffsetOfEachCharacter) {
  const UTF8String string = text("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z");
  EXPECT_EQ(string.length(), 5u);
  const uint32_t offsets[] = {0, 1, 3, 6, 10, 11, 11};
  for (unsigned int i = 0; i < std::size(offsets); ++i) EXPECT_EQ(string[i], offsets[i]) << i;
  EXPECT_EQ(string.u_str(), icu::UnicodeString(u"a\u00E9\u20AC\U0001F600z"));
}

TEST(Utf8String, TakesEverySequenceWhoseBytesButTheLastFit) {
  for (const char* one : {"a", "\xA9", "\xFF", "\xC3\xA9", "\xC3x", "\xE2\x82\xAC", "\xE2\x82x",
                          "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xE2\x82"}) {
    const UTF8String string = text(one);
    EXPECT_EQ(string.length(), 1u) << one;
    EXPECT_EQ(string[2], std::string(one).size()) << one;
    EXPECT_EQ(string.ascii(), utf8Bytes[static_cast<unsigned char>(*one)] == 0) << one;
  }
}

TEST(Utf8String, MovesOverTheTextOfOthersButNotOverNull) {
  UTF8Char_t bytes[] = "\xC3\xA9", *at = bytes, *none = nullptr;
  EXPECT_FALSE(UTF8String().next(&at));
  EXPECT_EQ(at, bytes + 2);
  EXPECT_TRUE(UTF8String().next(&none));
  EXPECT_TRUE(UTF8String().next(nullptr));
}

TEST(Utf8StringDeathTest, AbortsAtAMalformedSequence) {
  for (const char* bad : {"\xE2x\x82", "\xFC\x84\x80\x80\xC0\x80"}) {
    EXPECT_DEATH(text(bad).length(), "\\.\\./cfiutf8string:109: .*sum == pattern") << bad;
  }
}

TEST(Utf8String, NamesIcusErrorRightAfterTheColon) {
  UTF8String string = text("ok");
  const auto isRefused = testing::ThrowsMessage<std::runtime_error>(
      "ICU error occurred while converting string:U_INVALID_CHAR_FOUND");
  EXPECT_THAT([] { text("\xFF").u_str(); }, isRefused);
  EXPECT_THAT([&] { string.append(icu::UnicodeString(UChar(0xD800))); }, isRefused);
  EXPECT_THAT([&] { string.append(ACE_String_Base<wchar_t>(L"\x110000")); }, isRefused);
  EXPECT_EQ(allBytes(string), std::string("ok\0", 3)) << "nothing was appended";
}

}  // namespace
