#include "V_strings.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "support/temp_dir.h"
#include "vtime.h"

// Under AddressSanitizer too, memory that is not there is null.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

// Result and buffer, terminators shown as '.', after "xyz" went into ten places with this text.
template <class Char, class... Sizes>
std::string outcome(size_t (*function)(Char*, const Char*, Sizes...), std::string text,
                    std::type_identity_t<Sizes>... sizes) {
  text += '\0';
  text.resize(10, '#');
  const Char source[] = {'x', 'y', 'z', 0};
  std::basic_string<Char> buffer(text.begin(), text.end());
  EXPECT_EQ(function(nullptr, source, sizes...), 0U);
  EXPECT_EQ(function(buffer.data(), nullptr, sizes...), 0U);
  const size_t result = function(buffer.data(), source, sizes...);
  text.assign(buffer.begin(), buffer.end());
  std::replace(text.begin(), text.end(), '\0', '.');
  return std::to_string(result) + ' ' + text.substr(0, text.find_last_not_of('#') + 1);
}

TEST(BoundedStrings, WriteWhatFitsBeforeTheTerminator) {
  const auto expect = [](const char* name, auto narrow, auto wide, const char* old,
                         const char* left, auto... sizes) {
    SCOPED_TRACE(name + testing::PrintToString(std::tuple(old, sizes...)));
    EXPECT_EQ(outcome(narrow, old, sizes...), left) << "narrow";
    EXPECT_EQ(outcome(wide, old, sizes...), left) << "wide";
  };
  const struct {
    const char *old, *left;
    size_t size, n;
  } copies[] = {{"", "0 .", 0, 0}, {"", "0 .", 1, 0}, {"", "1 x.", 2, 0}, {"", "3 xyz.", 4, 0}},
    additions[] = {{"", "0 .", 1, 0},       {"", "1 x.", 2, 0},    {"ab", "0 ab.", 0, 0},
                   {"ab", "0 ab.", 2, 0},   {"ab", "0 ab.", 3, 0}, {"ab", "1 abx.", 4, 0},
                   {"ab", "3 abxyz.", 9, 0}},
    fields[] = {{"", "8 xyz......", 10, 8}, {"", "2 xy.", 10, 2}, {"", "2 xy.", 3, 3},
                {"", "1 x.", 2, 9},         {"", "0 .", 0, 2},    {"", "4 xyz..", 5, 5},
                {"", "0 .", 2, 0}},
    parts[] = {{"ab", "0 ab.", 9, 0},  {"ab", "2 abxy.", 9, 2}, {"ab", "3 abxyz.", 9, SIZE_MAX},
               {"ab", "1 abx.", 4, 1}, {"ab", "1 abx.", 4, 3},  {"ab", "0 ab.", 2, 3},
               {"ab", "0 ab.", 0, 2}};
  for (const auto& c : copies) expect("cpy", V_strlcpy, V_wcslcpy, c.old, c.left, c.size);
  for (const auto& c : additions) expect("cat", V_strlcat, V_wcslcat, c.old, c.left, c.size);
  for (const auto& c : fields) expect("ncpy", V_strlncpy, V_wcslncpy, c.old, c.left, c.n, c.size);
  for (const auto& c : parts) expect("ncat", V_strlncat, V_wcslncat, c.old, c.left, c.n, c.size);
}

TEST(BoundedStrings, VerifyFindsTheTerminatorWithinTheFirstNCharacters) {
  size_t length = 99;
  EXPECT_EQ(V_strverify("abc", 4, &length), 0U);
  EXPECT_EQ(length, 3U);
  EXPECT_EQ(V_wstrverify(L"abc", 3, &length), 0xFFFFFFFFU);
  EXPECT_EQ(length, 0U);
  EXPECT_EQ(V_strverify(nullptr, 4, nullptr), 0xFFFFFFFFU);
}

TEST(Memory, FreesTheOldBlockWhenThereIsNoBiggerOne) {
  volatile size_t tooMuch = SIZE_MAX / 2;
  const size_t used = mallinfo2().uordblks;
  void* block = nullptr;
  EXPECT_EQ(V_dumb_realloc(nullptr, 8), nullptr);
  ASSERT_EQ(V_dumb_realloc(&block, 100000), block);
  memset(block, 'x', 100000);
  EXPECT_EQ(V_dumb_realloc(&block, tooMuch), nullptr);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(mallinfo2().uordblks, used);
}

TEST(Formatting, ReturnsTheLengthOfWhatIsInTheBuffer) {
  const std::pair<size_t, std::string> cases[] = {
      {1, ""}, {5, "0123"}, {10, "012345678"}, {11, "0123456789"}};
  char out[16] = "##############";
  for (const auto& [size, text] : cases) {
    EXPECT_EQ(V_snprintf(out, size, "%s%d", "01234", 56789), static_cast<int>(text.size()));
    EXPECT_EQ(out, text);
    EXPECT_EQ(out[size], '#') << "behind " << text;
  }
  EXPECT_EQ(V_snprintf(out, 0, "x"), -1);
  EXPECT_EQ(V_snprintf(nullptr, 4, "x"), -1);
  EXPECT_STREQ(out, "0123456789");
}

TEST(Formatting, EmptiesTheBufferOnAnError) {
  char out[4] = "old";
  ASSERT_NE(setlocale(LC_ALL, "C"), nullptr);
  EXPECT_EQ(V_snprintf(out, sizeof(out), "ab%ls", L"\u00e9"), 0);
  EXPECT_STREQ(out, "");
}

TEST(Formatting, WideTextsThatDoNotFitAreCutAndReportedAsNegative) {
  wchar_t out[8] = L"#######";
  EXPECT_EQ(V_snwprintf(out, 4, L"%ls", L"wxyz"), -1);
  EXPECT_EQ(V_snwprintf(out, 0, L""), -1);
  EXPECT_EQ(V_snwprintf(out + 6, 1, L""), 0);
  EXPECT_EQ(V_snwprintf(out, 8, nullptr), -1);
  EXPECT_EQ(V_snwprintf(out, SIZE_MAX, L"x"), -1) << "without memory";
  EXPECT_EQ(std::wstring(out, 5), std::wstring(L"wxy\0#", 5));
  EXPECT_EQ(V_snwprintf(nullptr, 8, L"%d", 123), 3);
}

constexpr time_t kMoment = 1583064305;  // 2020-03-01 12:05:05 UTC

TEST(Time, TextsNeedRoomForTwentySixCharacters) {
  struct tm utc = {};
  char text[26] = "old";
  ASSERT_EQ(V_gmtime(&kMoment, &utc), &utc);
  errno = 0;
  EXPECT_EQ(V_asctime(&utc, text, 25), nullptr);
  EXPECT_EQ(V_ctime(&kMoment, text, 25), nullptr);
  EXPECT_EQ(errno, ERANGE);
  EXPECT_STREQ(text, "old");
  utc.tm_year += 8000;
  EXPECT_STREQ(V_asctime(&utc, text, 26), "Sun Mar  1 12:05:05 10020");
}

TEST(Time, FollowsEachChangeOfTheZone) {
  for (const auto& [zone, local] : {std::pair("UTC0", "Sun Mar  1 12:05:05 2020\n"),
                                    std::pair("XXX-3", "Sun Mar  1 15:05:05 2020\n")}) {
    const orca_tests::ScopedEnv scope("TZ", zone);
    struct tm utc = {}, here = {};
    char text[26];
    ASSERT_EQ(V_localtime(&kMoment, &here), &here);
    EXPECT_STREQ(V_asctime(&here, text, 26), local);
    EXPECT_STREQ(V_ctime(&kMoment, text, 26), local);
    EXPECT_EQ(V_timegm(V_gmtime(&kMoment, &utc)), kMoment) << zone;
  }
}

TEST(Time, HasNoResultForWhatIsNoTime) {
  const time_t beyond = INT64_MAX;
  struct tm out = {};
  char text[26] = "old";
  for (const time_t* time : {static_cast<const time_t*>(nullptr), &beyond}) {
    EXPECT_EQ(V_gmtime(time, &out), nullptr) << time;
    EXPECT_EQ(V_ctime(time, text, 26), nullptr) << time;
  }
  EXPECT_EQ(V_localtime(&kMoment, nullptr), nullptr);
  EXPECT_EQ(V_timegm(nullptr), -1);
  out.tm_year = INT_MAX;
  EXPECT_EQ(V_asctime(&out, text, 26), nullptr);
  EXPECT_STREQ(text, "old");
}

}  // namespace
