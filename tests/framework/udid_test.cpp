#include "cfiudid.h"

#include <gtest/gtest.h>

#include <tuple>

namespace orca_tests {
namespace {

using orca_pdk::CFiUdid;
using orca_pdk::CFiUdidException;

TEST(Udid, TakesTheFieldsAfterTheMarkerAndWritesThemBackInUpperCase) {
  using Fields = std::tuple<std::string, std::string, std::string, std::string, bool, std::string>;
  const std::pair<const char*, Fields> cases[] = {
      {"UDID##A##B##C", {"A", "B", "", "C", false, "UDID##A##B####C"}},
      {"xyzUDID##a##b##e##d", {"a", "b", "e", "d", true, "UDID##A##B##E##D"}},
      {"UDID##a##b##e##d##UDID##f",
       {"a", "b", "e", "d##UDID##f", true, "UDID##A##B##E##D##UDID##F"}},
      {"UDID######d", {"", "", "", "d", false, "UDID########D"}},
      {"UDID##a##b####", {"a", "b", "", "", true, "UDID##A##B####"}}};
  for (const auto& [text, fields] : cases) {
    const CFiUdid udid{orca_pdk::tstr(text)};
    EXPECT_EQ(Fields(udid.getFirst(), udid.getSecond(), udid.getEnclosure(), udid.getDevice(),
                     udid.isFourField(), udid.toString()),
              fields);
  }
}

TEST(Udid, NamesTheWholeTextAndTheReasonOfARefusal) {
  const std::pair<const char*, int> cases[] = {
      {"UDID##a##b##", 1}, {"a##b##c", 2}, {"", 2},
      {"UDID##ab", 3},     {"UDID##", 3},  {"UDID##a##b", 4}};
  for (const auto& [text, code] : cases) {
    try {
      CFiUdid udid{orca_pdk::tstr(text)};
      ADD_FAILURE() << text;
    } catch (const CFiUdidException& refusal) {
      EXPECT_EQ(std::pair(refusal.text, refusal.code), std::pair(std::string(text), code));
    }
  }
}

TEST(Udid, ParsedAgainKeepsTheFourFieldFlagOnly) {
  CFiUdid udid{orca_pdk::tstr("UDID##a##b##e##d")};
  udid.parse("UDID##x##y##z");
  EXPECT_EQ(udid.toString(), "UDID##X##Y####Z");
  EXPECT_TRUE(udid.isFourField());
  udid.setDevice("t1");
  EXPECT_EQ(udid.toString(), "UDID##X##Y####T1");
}

}  // namespace
}  // namespace orca_tests
