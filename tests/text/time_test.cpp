#include "vtime.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <utility>

#include "support/temp_dir.h"

namespace {

using orca_tests::ScopedEnv;

constexpr time_t kMoment = 1583064305;  // 2020-03-01 12:05:05 UTC

TEST(Time, TextsNeedRoomForTwentySixCharactersAndFollowEachChangeOfTheZone) {
  for (const auto& [zone, local] : {std::pair("UTC0", "Sun Mar  1 12:05:05 2020\n"),
                                    std::pair("XXX-3", "Sun Mar  1 15:05:05 2020\n")}) {
    const ScopedEnv scope("TZ", zone);
    struct tm utc = {}, here = {};
    char text[26] = "old";
    ASSERT_EQ(V_gmtime(&kMoment, &utc), &utc);
    ASSERT_EQ(V_localtime(&kMoment, &here), &here);
    EXPECT_EQ(V_timegm(&utc), kMoment);
    errno = 0;
    EXPECT_EQ(V_asctime(&utc, text, 25), nullptr);
    EXPECT_EQ(std::exchange(errno, 0), ERANGE);
    EXPECT_EQ(V_ctime(&kMoment, text, 25), nullptr);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_STREQ(text, "old");
    EXPECT_STREQ(V_asctime(&here, text, 26), local);
    EXPECT_STREQ(V_ctime(&kMoment, text, 26), local);
  }
}

TEST(Time, NullPointersAndFailuresGiveNullAndLeaveTheOutputAlone) {
  struct tm when = {};
  const time_t beyond = INT64_MAX;
  for (const auto breakDown : {V_gmtime, V_localtime}) {
    EXPECT_EQ(breakDown(nullptr, &when), nullptr);
    EXPECT_EQ(breakDown(&kMoment, nullptr), nullptr);
    EXPECT_EQ(breakDown(&beyond, &when), nullptr);
  }
  EXPECT_EQ(when.tm_year, 0);
  char text[32] = "old";
  for (char* none :
       {V_asctime(nullptr, text, 32), V_asctime(&when, nullptr, 32), V_ctime(nullptr, text, 32),
        V_ctime(&kMoment, nullptr, 32), V_ctime(&beyond, text, 32)}) {
    EXPECT_EQ(none, nullptr);
  }
  EXPECT_STREQ(text, "old");
}

}  // namespace
