#include "cfiutf8string.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

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

TEST(Utf8String, IsTotallyEmptyThenKeepsExactlyOneTerminatorAfterEachAppend) {
  UTF8String string;
  EXPECT_EQ(allBytes(string), "");
  EXPECT_EQ(string.length() + string[3], 0u);
  EXPECT_TRUE(string.ascii());
  string.append("ab", 2);
  EXPECT_EQ(allBytes(string), std::string("ab\0", 3));
  string.append(std::vector<char>{'c', 'd'});
  string.append(-42, 10);
  string.append(icu::UnicodeString::fromUTF8("\xE2\x82\xAC"));
  string.append(ACE_String_Base<wchar_t>(L"\x1F600"));
  EXPECT_EQ(allBytes(string), std::string("abcd-42\xE2\x82\xAC\xF0\x9F\x98\x80\0", 15));
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

TEST(Utf8String, CountsCharactersGivesTheirOffsetsAndConvertsThemToUtf16) {
  const UTF8String string = text("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z");
  EXPECT_EQ(string.length(), 5u);
  const uint32_t offsets[] = {0, 1, 3, 6, 10, 11, 11};
  for (unsigned int i = 0; i < std::size(offsets); ++i) EXPECT_EQ(string[i], offsets[i]) << i;
  EXPECT_EQ(text("a\xE2\x82")[2], 3u) << "the terminator ends a cut one";
  EXPECT_FALSE(string.ascii());
  EXPECT_TRUE(text("plain\xFE").ascii());
  EXPECT_EQ(string.u_str(), icu::UnicodeString(u"a\u00E9\u20AC\U0001F600z"));
}

TEST(Utf8StringDeathTest, AbortsAtAMalformedSequence) {
  EXPECT_DEATH(text("\xE2x\x82").length(), "\\.\\./cfiutf8string:109: ");
}

TEST(Utf8String, NamesIcusErrorRightAfterTheColonAndChangesNothing) {
  UTF8String string = text("ok");
  const auto isRefused = testing::ThrowsMessage<std::runtime_error>(
      "ICU error occurred while converting string:U_INVALID_CHAR_FOUND");
  EXPECT_THAT([] { text("\xFF").u_str(); }, isRefused);
  EXPECT_THAT([&] { string.append(icu::UnicodeString(UChar(0xD800))); }, isRefused);
  EXPECT_THAT([&] { string.append(ACE_String_Base<wchar_t>(L"\x110000")); }, isRefused);
  EXPECT_EQ(allBytes(string), std::string("ok\0", 3));
}

}  // namespace
