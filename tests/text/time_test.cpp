#include "vtime.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "support/temp_dir.h"

namespace {

using orca_tests::ScopedEnv;

constexpr time_t kMoment = 1583064305;  // 2020-03-01 12:05:05 UTC

TEST(Time, BreaksDownAndPutsTogetherUtc) {
  struct tm when = {};
  ASSERT_EQ(V_gmtime(&kMoment, &when), &when);
  EXPECT_EQ(when.tm_year, 120);
  EXPECT_EQ(when.tm_mon, 2);
  EXPECT_EQ(when.tm_hour, 12);
  EXPECT_EQ(V_timegm(&when), kMoment);
  EXPECT_EQ(V_timegm(nullptr), -1);
}

TEST(Time, LocalTimeFollowsEachChangeOfTheZone) {
  struct tm when = {};
  for (const auto& [zone, hour] : {std::pair("UTC0", 12), std::pair("XXX-3", 15)}) {
    const ScopedEnv scope("TZ", zone);
    ASSERT_EQ(V_localtime(&kMoment, &when), &when);
    EXPECT_EQ(when.tm_hour, hour);
  }
}

TEST(Time, NullPointersAndFailuresGiveNullAndLeaveTheOutputAlone) {
  struct tm when = {};
  const struct tm before = when;
  const time_t beyond = INT64_MAX;
  for (const auto breakDown : {V_gmtime, V_localtime}) {
    EXPECT_EQ(breakDown(nullptr, &when), nullptr);
    EXPECT_EQ(breakDown(&kMoment, nullptr), nullptr);
    EXPECT_EQ(breakDown(&beyond, &when), nullptr);
  }
  EXPECT_EQ(memcmp(&when, &before, sizeof(when)), 0);
  char text[32] = "old";
  for (char* none :
       {V_asctime(nullptr, text, 32), V_asctime(&when, nullptr, 32), V_ctime(nullptr, text, 32),
        V_ctime(&kMoment, nullptr, 32), V_ctime(&beyond, text, 32)}) {
    EXPECT_EQ(none, nullptr);
  }
  EXPECT_STREQ(text, "old");
}

TEST(Time, TextsNeedRoomForTwentySixCharacters) {
  const ScopedEnv zone("TZ", "XXX-3");
  struct tm when = {};
  V_gmtime(&kMoment, &when);
  char text[26] = "old";
  errno = 0;
  EXPECT_EQ(V_asctime(&when, text, 25), nullptr);
  EXPECT_EQ(std::exchange(errno, 0), ERANGE);
  EXPECT_EQ(V_ctime(&kMoment, text, 25), nullptr);
  EXPECT_EQ(errno, ERANGE);
  EXPECT_STREQ(text, "old");
  EXPECT_STREQ(V_asctime(&when, text, 26), "Sun Mar  1 12:05:05 2020\n");
  EXPECT_STREQ(V_ctime(&kMoment, text, 26), "Sun Mar  1 15:05:05 2020\n");
}

TEST(Time, AYearOfFiveDigitsIsWrittenAsFarAsItFits) {
  const time_t late = 253402300800;  // 10000-01-01
  struct tm when = {};
  V_gmtime(&late, &when);
  char text[32];
  EXPECT_STREQ(V_asctime(&when, text, sizeof(text)), "Sat Jan  1 00:00:00 10000\n");
  EXPECT_STREQ(V_asctime(&when, text, 26), "Sat Jan  1 00:00:00 10000");
}

}  // namespace
