#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "cfistringtool.h"

namespace {

using Tool = orca_pdk_4_4::CFiStringTool;
using Bytes = std::vector<unsigned char>;

const Bytes kBytes = {0x00, 0x7F, 0x80, 0xFF};

TEST(Hex, ReadsPiecesOfTwoCharactersByTheRulesOfStrtol) {
  const std::pair<std::string, Bytes> cases[] = {{"007F80fF", kBytes},
                                                 {"12345", {0x12, 0x34}},
                                                 {"1g -1", {0x01, 0x00}},
                                                 {" a-1", {0x0A, 0xFF}}};
  for (const auto& [text, wanted] : cases) {
    Bytes narrow(8), wide(8);
    int narrowCount = -1, wideCount = -1;
    Tool::str2binary(narrow.data(), &narrowCount, text);
    Tool::wstr2binary(wide.data(), &wideCount, std::wstring(text.begin(), text.end()), true);
    narrow.resize(narrowCount);
    wide.resize(wideCount);
    EXPECT_EQ(narrow, wanted) << text;
    EXPECT_EQ(wide, wanted) << text;
  }
}

TEST(Hex, HasTwoLowerCaseDigitsAByteExceptForSignedCharactersInUniqueIdsOfText) {
  EXPECT_EQ(Tool::binary2str(kBytes.data(), 4), "007f80ff");
  EXPECT_EQ(Tool::binary2wstr(kBytes.data(), 4), L"007f80ff");
  EXPECT_EQ(Tool::binary2uid(0xAB, kBytes.data(), 4), "00ab007f80ff");
  EXPECT_EQ(Tool::wstr2uid(1, L"A\u00E9"), "000141c3a9");
  EXPECT_EQ(Tool::str2uid(0x12345, "A\xC3"), "1234541ffffffc3");
}

}  // namespace
