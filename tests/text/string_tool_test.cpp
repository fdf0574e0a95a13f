#include "cfistringtool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using orca_pdk_4_4::tstr;
using testing::ElementsAre;
using Tool = orca_pdk_4_4::CFiStringTool;

const std::string kMixed("a\0\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 11);
const std::wstring kMixedWide(L"a\0\u00E9\u20AC\U0001F600", 5);

TEST(StringTool, ConvertsBetweenAllKindsWithEmbeddedZerosWhateverTheLocale) {
  const tstr mixed(kMixed.data(), kMixed.size());
  const icu::UnicodeString unicode(u"a\0\u00E9\u20AC\U0001F600", 6);
  EXPECT_EQ(Tool::tstr2str(mixed), kMixed);
  EXPECT_EQ(Tool::str2tstr(kMixed), mixed);
  EXPECT_EQ(Tool::mbs2wcs(kMixed), kMixedWide);
  EXPECT_EQ(Tool::tstr2wstr(mixed), kMixedWide);
  EXPECT_EQ(Tool::wcs2mbs(kMixedWide), kMixed);
  EXPECT_EQ(Tool::wstr2tstr(kMixedWide), mixed);
  EXPECT_EQ(Tool::str2ustr(kMixed), unicode);
  EXPECT_EQ(Tool::tstr2ustr(mixed), unicode);
  EXPECT_EQ(Tool::ustr2str(unicode), kMixed);
  EXPECT_EQ(Tool::ustr2tstr(unicode), mixed);
}

TEST(StringTool, ReplacesInvalidWideTextAndRefusesInvalidUnicode) {
  EXPECT_EQ(Tool::str2wstr("a\xFF\xE2\x82"), L"a\xFFFD\xFFFD");
  const std::wstring bad = {L'a', 0xD800, 0x110000, static_cast<wchar_t>(-1), 0xFFFF};
  EXPECT_EQ(Tool::wstr2str(bad), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBF");
  EXPECT_TRUE(Tool::str2ustr("a\xFF").isEmpty());
  EXPECT_EQ(Tool::ustr2str(icu::UnicodeString(UChar(0xD800))), "");
}

TEST(StringTool, MakesCopiesThatFreeReleases) {
  using Wide = std::unique_ptr<wchar_t, decltype(&std::free)>;
  using Narrow = std::unique_ptr<char, decltype(&std::free)>;
  EXPECT_STREQ(Narrow(Tool::strdup("text"), std::free).get(), "text");
  EXPECT_STREQ(Narrow(Tool::tstrdup(tstr("ace")), std::free).get(), "ace");
  EXPECT_STREQ(Wide(Tool::wstrdup(L"wide"), std::free).get(), L"wide");
  EXPECT_EQ(Tool::strdup(nullptr), nullptr);
}

TEST(StringTool, MakesNullTerminatedListsAndNullsTheFreedPointer) {
  char** list = Tool::tstrduplist({tstr("one"), tstr("")});
  EXPECT_STREQ(list[0], "one");
  EXPECT_STREQ(list[1], "");
  EXPECT_EQ(list[2], nullptr);
  Tool::tstrfreelist(list);
  EXPECT_EQ(list, nullptr);
  Tool::tstrfreelist(list);
}

TEST(StringTool, WritesNumbers) {
  EXPECT_EQ(Tool::int2str(INT_MIN), "-2147483648");
  EXPECT_EQ(Tool::int2str(LONG_MIN), "-9223372036854775808");
  EXPECT_EQ(Tool::uint2str(UINT_MAX), "4294967295");
  EXPECT_EQ(Tool::uint2str(ULONG_MAX), "18446744073709551615");
  EXPECT_EQ(Tool::int2wstr(-7), L"-7");
  EXPECT_EQ(Tool::uint2wstr(ULONG_MAX), L"18446744073709551615");
  EXPECT_EQ(Tool::double2str(1e20), "1e+20");
  EXPECT_EQ(Tool::float2str(-FLT_MAX), "-340282346638528859811704183484516925440.000000");
  EXPECT_EQ(Tool::bool2str(true), "true");
  EXPECT_EQ(Tool::bool2str(false), "false");
}

TEST(StringTool, ReadsNumbersByTheRulesOfTheCLibrary) {
  int number = 0;
  unsigned long big = 0;
  double real = 0;
  Tool::str2int(" \t-12x", number);
  Tool::str2uint64("18446744073709551615", big);
  Tool::str2double(" 1.5e3kg", real);
  EXPECT_EQ(number, -12);
  EXPECT_EQ(Tool::str2uint("4294967295"), UINT_MAX);
  EXPECT_EQ(big, ULONG_MAX);
  EXPECT_EQ(real, 1500.0);
  EXPECT_EQ(Tool::str2int("010"), 10);
  EXPECT_EQ(Tool::str2uint("-1"), UINT_MAX);
}

TEST(StringTool, TrimsTheCharactersOfTheSet) {
  EXPECT_EQ(Tool::ltrim(" \tab \n", " \n\t\r"), "ab \n");
  EXPECT_EQ(Tool::rtrim(" \tab \n", " \n\t\r"), " \tab");
  EXPECT_EQ(Tool::trim("xxaxbxx", "x"), "axb");
  EXPECT_EQ(Tool::trim("   ", " "), "");
  EXPECT_EQ(Tool::trim(" a ", nullptr), " a ");
  EXPECT_EQ(Tool::trim(" a ", ""), " a ");
}

TEST(StringTool, ChangesAndIgnoresLetterCase) {
  EXPECT_EQ(Tool::tostrlower("aB1\xC3"), "ab1\xC3");
  EXPECT_EQ(Tool::tostrupper("aB1["), "AB1[");
  EXPECT_EQ(Tool::tostrupper(std::wstring(L"aB")), L"AB");
  EXPECT_TRUE(Tool::CompareNoCase("enC-1\xC3", "ENc-1\xC3"));
  EXPECT_FALSE(Tool::CompareNoCase("abc", "abcd"));
  EXPECT_FALSE(Tool::CompareNoCase("[", "{"));
  EXPECT_TRUE(Tool::CompareNoCase(std::wstring(L"aB"), std::wstring(L"Ab")));
  EXPECT_FALSE(Tool::CompareNoCase(std::wstring(L"b"), std::wstring(L"a")));
}

TEST(StringTool, TellsDigitsAndAddresses) {
  EXPECT_TRUE(Tool::isDigit(""));
  EXPECT_TRUE(Tool::isDigit("0189"));
  EXPECT_FALSE(Tool::isDigit("1-"));
  EXPECT_TRUE(Tool::isIpAddress(".1..2.3.999."));
  EXPECT_FALSE(Tool::isIpAddress("1.2.3"));
  EXPECT_FALSE(Tool::isIpAddress("1.2.3.4.5"));
  EXPECT_FALSE(Tool::isIpAddress("1.2.3.a"));
}

TEST(StringTool, FindsTheFirstElementThatHoldsTheText) {
  const std::vector<std::string> list = {"one \n", "two", "three two "};
  unsigned int index = 9;
  EXPECT_TRUE(Tool::find(list, "two", index, false));
  EXPECT_EQ(index, 1u);
  EXPECT_TRUE(Tool::find(list, " ", index, true));
  EXPECT_EQ(index, 2u);
  EXPECT_FALSE(Tool::find(list, "\n", index, true));
  EXPECT_EQ(index, 3u);
  EXPECT_EQ(list[0], "one \n");
}

TEST(StringTool, ReplacesFromLeftToRightInOnePass) {
  EXPECT_EQ(Tool::searchreplace("aaaa-a", "aa", "a"), "aa-a");
  EXPECT_EQ(Tool::searchreplace("a.b", ".", "..."), "a...b");
  EXPECT_EQ(Tool::searchreplace("abc", "b", ""), "ac");
  EXPECT_EQ(Tool::searchreplace("", "b", "x"), "");
  EXPECT_EQ(Tool::searchreplace("abc", "", "x"), "abc");
}

TEST(StringTool, SplitsAtRunsOfDelimitersUpToTheFirstZero) {
  EXPECT_THAT(Tool::tokenize(",;a,,b;", ",;"), ElementsAre("a", "b"));
  EXPECT_THAT(Tool::tokenize(std::string("a b\0c d", 7), " "), ElementsAre("a", "b"));
  EXPECT_THAT(Tool::tokenize("a b", ""), ElementsAre("a b"));
  EXPECT_THAT(Tool::tokenize(",,", ","), ElementsAre());
}

TEST(StringTool, EscapesAndRestoresXmlText) {
  const char* const cases[][2] = {
      {"plain", "plain"},
      {"a&lt;b", "a&amp;lt;b"},
      {"<a b=\"c\">'&'</a>", "&lt;a b=&quot;c&quot;&gt;&#39;&amp;&#39;&lt;/a&gt;"},
      {"&amp;#39;", "&amp;amp;#39;"}};
  for (const auto& [plain, escaped] : cases) {
    EXPECT_EQ(Tool::convertToXmlSpecialCharacters(plain), escaped);
    EXPECT_EQ(Tool::convertFromXmlSpecialCharacters(escaped), plain);
  }
  EXPECT_EQ(Tool::convertFromXmlSpecialCharacters("&apos;&&LT;&amp"), "&apos;&&LT;&amp");
}

TEST(StringTool, EscapesInOnePassAsBySearchingForOneEntityAfterTheOther) {
  const std::pair<const char*, const char*> passes[] = {
      {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&#39;"}};
  const char* const pieces[] = {"&", "amp;", "lt;", "#39;", "&amp;", "&quot;",
                                "<", ">",    "\"",  "'",    ";",     "a text of some length"};
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::string text;
    for (int i = 0; i < 12; ++i) text += pieces[random() % std::size(pieces)];
    std::string escaped = text;
    std::string plain = text;
    for (int i = 0; i < 5; ++i) {
      escaped = Tool::searchreplace(escaped, passes[i].first, passes[i].second);
      plain = Tool::searchreplace(plain, passes[4 - i].second, passes[4 - i].first);
    }
    ASSERT_EQ(Tool::convertToXmlSpecialCharacters(text), escaped);
    ASSERT_EQ(Tool::convertFromXmlSpecialCharacters(text), plain);
  }
}

TEST(StringTool, WritesXmlBrackets) {
  EXPECT_EQ(Tool::xmlBracket("a", true, true), "<a>\n");
  EXPECT_EQ(Tool::xmlBracketValue("name", "<1>"), "\t<name>&lt;1&gt;</name>\n");
}

}  // namespace
