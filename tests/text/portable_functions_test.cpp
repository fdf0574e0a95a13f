#include "V_strings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <string>
#include <type_traits>
#include <utility>

#include "support/temp_dir.h"
#include "vtime.h"

namespace {

// Result and buffer, terminators shown as '.', after "xyz" went into ten places with this text.
template <class Char, class... Sizes>
std::string outcome(size_t (*function)(Char*, const Char*, Sizes...), std::string text,
                    std::type_identity_t<Sizes>... sizes) {
  text += '\0';
  text.resize(10, '#');
  const Char source[] = {'x', 'y', 'z', 0};
  std::basic_string<Char> buffer(text.begin(), text.end());
  const size_t result = function(buffer.data(), source, sizes...);
  EXPECT_EQ(function(nullptr, source, sizes...) + function(buffer.data(), nullptr, sizes...), 0U);
  text.assign(buffer.begin(), buffer.end());
  std::replace(text.begin(), text.end(), '\0', '.');
  return std::to_string(result) + text.substr(0, text.find_last_not_of('#') + 1);
}

TEST(BoundedStrings, CopyAndConcatenateWhatFitsTerminateItAndReturnItsLength) {
  const auto expect = [](auto narrow, auto wide, const char* old, const char* left, auto... sizes) {
    EXPECT_EQ(outcome(narrow, old, sizes...), left) << "narrow";
    EXPECT_EQ(outcome(wide, old, sizes...), left) << "wide";
  };
  const struct {
    const char *old, *left;
    size_t size, n;
  } copies[] = {{"", "0.", 0, 0}, {"", "0.", 1, 0}, {"", "1x.", 2, 0}, {"", "3xyz.", 9, 0}},
    additions[] = {{"", "1x.", 2, 0},    {"ab", "0ab.", 0, 0},  {"ab", "0ab.", 2, 0},
                   {"ab", "0ab.", 3, 0}, {"ab", "1abx.", 4, 0}, {"ab", "3abxyz.", 9, 0}},
    fields[] = {{"", "8xyz......", 16, 8}, {"", "2xy.", 16, 2}, {"", "2xy.", 3, 3},
                {"", "1x.", 2, 9},         {"", "0.", 0, 2},    {"", "4xyz..", 5, 5}},
    parts[] = {{"ab", "0ab.", 9, 0},  {"ab", "2abxy.", 9, 2}, {"ab", "3abxyz.", 9, SIZE_MAX},
               {"ab", "1abx.", 4, 3}, {"ab", "0ab.", 2, 3},   {"ab", "0ab.", 0, 2}};
  for (const auto& c : copies) expect(V_strlcpy, V_wcslcpy, c.old, c.left, c.size);
  for (const auto& c : additions) expect(V_strlcat, V_wcslcat, c.old, c.left, c.size);
  for (const auto& c : fields) expect(V_strlncpy, V_wcslncpy, c.old, c.left, c.n, c.size);
  for (const auto& c : parts) expect(V_strlncat, V_wcslncat, c.old, c.left, c.n, c.size);
}

TEST(BoundedStrings, VerifyFindsTheTerminatorWithinTheFirstNCharacters) {
  size_t length = 99;
  EXPECT_EQ(V_strverify("abc", 4, &length), 0U);
  EXPECT_EQ(length, 3U);
  EXPECT_EQ(V_wstrverify(L"abc", 3, &length), 0xFFFFFFFFU);
  EXPECT_EQ(length, 0U);
}

TEST(Formatting, ReturnsTheLengthOfWhatIsInTheBufferAndEmptiesItOnAnError) {
  const std::pair<size_t, std::string> cases[] = {
      {1, ""}, {5, "0123"}, {10, "012345678"}, {11, "0123456789"}};
  char out[16] = "##############";
  for (const auto& [size, text] : cases) {
    EXPECT_EQ(V_snprintf(out, size, "%s%d", "01234", 56789), static_cast<int>(text.size()));
    EXPECT_EQ(out, text);
    EXPECT_EQ(out[size], '#');
  }
  EXPECT_EQ(V_snprintf(out, 0, "x"), -1);
  EXPECT_EQ(V_snprintf(nullptr, 4, "x"), -1);
  EXPECT_STREQ(out, "0123456789");
  ASSERT_NE(setlocale(LC_ALL, "C"), nullptr);
  EXPECT_EQ(V_snprintf(out, sizeof(out), "ab%ls", L"\u00e9"), 0);
  EXPECT_STREQ(out, "");
}

TEST(Formatting, WideTextsThatDoNotFitAreCutAndReportedAsNegative) {
  wchar_t out[8] = L"#######";
  EXPECT_EQ(V_snwprintf(out, 4, L"%ls", L"wxyz"), -1);
  EXPECT_EQ(V_snwprintf(out, 0, L"x"), -1);
  EXPECT_EQ(std::wstring(out, 5), std::wstring(L"wxy\0#", 5));
  EXPECT_EQ(V_snwprintf(nullptr, 8, L"%d", 123), 3);
}

constexpr time_t kMoment = 1583064305;  // 2020-03-01 12:05:05 UTC

TEST(Time, TextsNeedRoomForTwentySixCharactersAndFollowEachChangeOfTheZone) {
  for (const auto& [zone, local] : {std::pair("UTC0", "Sun Mar  1 12:05:05 2020\n"),
                                    std::pair("XXX-3", "Sun Mar  1 15:05:05 2020\n")}) {
    const orca_tests::ScopedEnv scope("TZ", zone);
    struct tm utc = {}, here = {};
    char text[26] = "old";
    ASSERT_EQ(V_gmtime(&kMoment, &utc), &utc);
    ASSERT_EQ(V_localtime(&kMoment, &here), &here);
    EXPECT_EQ(V_timegm(&utc), kMoment);
    errno = 0;
    EXPECT_EQ(V_asctime(&utc, text, 25), nullptr);
    EXPECT_EQ(V_ctime(&kMoment, text, 25), nullptr);
    EXPECT_EQ(errno, ERANGE);
    const time_t beyond = INT64_MAX;
    EXPECT_EQ(V_gmtime(&beyond, &here), nullptr);
    EXPECT_EQ(V_ctime(&beyond, text, 26), nullptr);
    EXPECT_STREQ(text, "old");
    EXPECT_STREQ(V_asctime(&here, text, 26), local);
    EXPECT_STREQ(V_ctime(&kMoment, text, 26), local);
  }
}

}  // namespace
