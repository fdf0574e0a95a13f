#include "cfistringtool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstdlib>
#include <string>

namespace {

using orca_pdk_4_4::tstr;
using testing::ElementsAre;
using Tool = orca_pdk_4_4::CFiStringTool;

TEST(StringTool, KeepsEmbeddedZerosInEveryConversion) {
  const std::string bytes("a\0\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 11);
  const std::wstring wide(L"a\0\u00E9\u20AC\U0001F600", 5);
  const tstr mixed = Tool::str2tstr(bytes);
  const icu::UnicodeString unicode(u"a\0\u00E9\u20AC\U0001F600", 6);
  EXPECT_EQ(Tool::tstr2str(mixed), bytes);
  EXPECT_EQ(Tool::mbs2wcs(bytes), wide);
  EXPECT_EQ(Tool::tstr2wstr(mixed), wide);
  EXPECT_EQ(Tool::wstr2tstr(wide), mixed);
  EXPECT_EQ(Tool::tstr2ustr(mixed), unicode);
  EXPECT_EQ(Tool::ustr2tstr(unicode), mixed);
}

TEST(StringTool, ReplacesOrRefusesWhatIsNoUnicode) {
  EXPECT_EQ(Tool::str2wstr("a\xFF\xE2\x82"), L"a\xFFFD\xFFFD");
  EXPECT_EQ(Tool::wstr2str({0xD800, 0x110000, 0xFFFF}), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBF");
  EXPECT_EQ(Tool::wstr2str({0x10FFFF}), "\xF4\x8F\xBF\xBF");
  EXPECT_TRUE(Tool::str2ustr("a\xFF").isEmpty());
  EXPECT_EQ(Tool::ustr2str(icu::UnicodeString(UChar(0xD800))), "");
}

TEST(StringTool, MakesCopiesThatTheCallerFrees) {
  char* const copy = Tool::strdup("text");
  wchar_t* const wide = Tool::wstrdup(L"wide");
  char** list = Tool::tstrduplist({tstr("one"), tstr("")});
  EXPECT_STREQ(copy, "text");
  EXPECT_STREQ(wide, L"wide");
  EXPECT_STREQ(list[0], "one");
  EXPECT_STREQ(list[1], "");
  EXPECT_EQ(list[2], nullptr);
  std::free(copy);
  std::free(wide);
  Tool::tstrfreelist(list);
  EXPECT_EQ(list, nullptr);
}

TEST(StringTool, ConvertsNumbersByTheRulesOfTheCLibrary) {
  EXPECT_EQ(Tool::int2str(LONG_MIN), "-9223372036854775808");
  EXPECT_EQ(Tool::uint2wstr(ULONG_MAX), L"18446744073709551615");
  EXPECT_EQ(Tool::double2str(1e20), "1e+20");
  EXPECT_EQ(Tool::float2str(-FLT_MAX), "-340282346638528859811704183484516925440.000000");
  int number = 0;
  unsigned long big = 0;
  Tool::str2int(" \t-012x", number);
  Tool::str2uint64("18446744073709551615", big);
  EXPECT_EQ(number, -12);
  EXPECT_EQ(big, ULONG_MAX);
  unsigned int natural = 0;
  Tool::str2uint("-1", natural);
  EXPECT_EQ(natural, UINT_MAX);
}

TEST(StringTool, TrimsTheCharactersOfTheSet) {
  EXPECT_EQ(Tool::ltrim(" \tab \n", " \n\t\r"), "ab \n");
  EXPECT_EQ(Tool::rtrim(" \tab \n", " \n\t\r"), " \tab");
  EXPECT_EQ(Tool::trim("   ", " "), "");
  EXPECT_EQ(Tool::trim(" a ", " "), "a");
  EXPECT_EQ(Tool::trim(" a ", nullptr), " a ");
}

TEST(StringTool, KnowsTheLetterCaseOfAsciiOnly) {
  EXPECT_EQ(Tool::tostrlower("aB[\xC3"), "ab[\xC3");
  EXPECT_EQ(Tool::tostrupper("aB{"), "AB{");
  EXPECT_TRUE(Tool::CompareNoCase("enC-1\xC3", "ENc-1\xC3"));
  EXPECT_FALSE(Tool::CompareNoCase("abc", "abcd"));
  EXPECT_FALSE(Tool::CompareNoCase("[", "{"));
}

TEST(StringTool, TakesFourRunsOfDigitsForAnAddress) {
  EXPECT_TRUE(Tool::isIpAddress(".1..2.3.999."));
  for (const char* bad : {"1.2.3", "1.2.3.4.5", "1.2.3.a"}) {
    EXPECT_FALSE(Tool::isIpAddress(bad)) << bad;
  }
}

TEST(StringTool, FindsTheFirstElementThatHoldsTheText) {
  const std::vector<std::string> list = {"one \n", "two", "three two "};
  unsigned int index = 9;
  EXPECT_TRUE(Tool::find(list, "two", index, false));
  EXPECT_EQ(index, 1u);
  EXPECT_FALSE(Tool::find(list, "\n", index, true));
  EXPECT_EQ(index, 3u);
}

TEST(StringTool, ReplacesInOnePass) {
  EXPECT_EQ(Tool::searchreplace("aaaa-a", "aa", "a"), "aa-a");
  EXPECT_EQ(Tool::searchreplace("a.c", ".", ".."), "a..c");
}

TEST(StringTool, SplitsAtRunsOfDelimitersUpToTheFirstZero) {
  EXPECT_THAT(Tool::tokenize(std::string(",;a,,b;\0c", 9), ",;"), ElementsAre("a", "b"));
}

TEST(StringTool, EscapesXmlTextReversibly) {
  for (std::size_t before = 0; before < 1030; ++before) {
    const std::string lead(before, 'x'), tail(before % 20, 'y');
    const std::string plain = lead + "<\"'&lt;>" + tail;
    const std::string escaped = lead + "&lt;&quot;&#39;&amp;lt;&gt;" + tail;
    EXPECT_EQ(Tool::convertToXmlSpecialCharacters(plain), escaped) << before;
    EXPECT_EQ(Tool::convertFromXmlSpecialCharacters(escaped), plain) << before;
  }
  EXPECT_EQ(Tool::convertToXmlSpecialCharacters(std::string(2050, '"')).size(), 12300U);
  EXPECT_EQ(Tool::convertFromXmlSpecialCharacters("&apos;&&LT;&amp"), "&apos;&&LT;&amp");
  EXPECT_EQ(Tool::xmlBracketValue("name", "<1>"), "\t<name>&lt;1&gt;</name>\n");
}

TEST(Hex, ReadsPiecesOfTwoCharactersByTheRulesOfStrtol) {
  unsigned char bytes[8];
  int count = -1;
  Tool::str2binary(bytes, &count, "7F80fF1");
  EXPECT_EQ(std::string(bytes, bytes + count), "\x7F\x80\xFF");
  Tool::wstr2binary(bytes, &count, L"1g a-1", true);
  EXPECT_EQ(std::string(bytes, bytes + count), "\x01\x0A\xFF");
}

TEST(Hex, HasTwoLowerCaseDigitsAByteExceptForSignedCharactersInUniqueIdsOfText) {
  const unsigned char bytes[] = {0x00, 0x7F, 0x80, 0xFF};
  EXPECT_EQ(Tool::binary2str(bytes, 4), "007f80ff");
  EXPECT_EQ(Tool::binary2uid(0xAB, bytes, 4), "00ab007f80ff");
  EXPECT_EQ(Tool::wstr2uid(1, L"A\u00E9"), "000141c3a9");
  EXPECT_EQ(Tool::str2uid(0x12345, "A\xC3"), "1234541ffffffc3");
}

}  // namespace
