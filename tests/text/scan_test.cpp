#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "V_sscanf.h"
#include "V_strtoimax.h"
#include "V_strtoumax.h"
#include "V_vfscanf.h"
#include "cfistringtool.h"

namespace {

// A file with this content.
std::unique_ptr<FILE, int (*)(FILE*)> fileOf(const std::string& content) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(tmpfile(), fclose);
  fputs(content.c_str(), file.get());
  rewind(file.get());
  return file;
}

// Scans one value and the position behind it: "value@position", or the result alone.
template <class Value>
std::string scanned(const char* text, const std::string& conversion) {
  Value value = 0;
  int end = 0;
  const std::string format = "%" + conversion + "%n";
  const int result = V_sscanf(text, format.c_str(), &value, int{sizeof(value)}, &end, 4);
  std::ostringstream out;
  out << value << '@' << end;
  return result == 1 ? out.str() : std::to_string(result);
}

TEST(Scan, ConvertsNumbersByTheRulesOfTheirConversion) {
  const char* integers[][3] = {
      {"+0012x", "td", "12@5"},   {"-0x1fg", "lli", "-31@5"}, {"017", "lli", "15@3"},
      {"0xz", "lli", "0@1"},      {"08", "lli", "0@1"},       {"ff", "llx", "255@2"},
      {"0XFF", "llX", "255@4"},   {"778", "llo", "63@2"},     {"-1", "zu", "-1@2"},
      {"12345", "3lld", "123@3"}, {"0x12", "2lli", "0@1"},    {"-12", "D", "-12@3"},
      {"17", "O", "15@2"},        {"0xabc", "p", "2748@5"},   {"-", "qd", "0"},
      {"017", "ld", "17@3"},      {"0x1", "D", "0@1"},        {"019", "lu", "19@3"},
      {"19", "lli", "19@2"},      {"0xG", "lx", "0@1"},       {"-0", "1lld", "0"}};
  for (const auto& [text, conversion, expected] : integers) {
    EXPECT_EQ(scanned<int64_t>(text, conversion), expected) << text << " by " << conversion;
  }
  const char* reals[][2] = {{"3.25", "3.25@4"}, {" -.5e1z", "-5@6"}, {"7.", "7@2"},
                            {"1E3", "1000@3"},  {"1e+x", "1@1"},     {"-.e5", "0"}};
  for (const auto& [text, expected] : reals) {
    EXPECT_EQ(scanned<double>(text, "lf"), expected) << text;
  }
  EXPECT_EQ(scanned<long double>("2.5", "LG"), "2.5@3");
  EXPECT_EQ(scanned<int64_t>("-99999999999999999999", "jd"), "-9223372036854775808@21");
  EXPECT_EQ(scanned<int64_t>("123", "18446744073709551617ld"), "123@3") << "a width past SIZE_MAX";
  EXPECT_EQ(scanned<int64_t>(std::string(513, '0').c_str(), "lld"), "0@512");
}

TEST(Scan, StoresAsManyBytesAsPrefixAndSizeBothAllow) {
  const struct {
    const char* format;
    unsigned size;
    const char* stored;  // two hexadecimal digits a byte
  } cases[] = {{"%hhx", 8, "01"},     {"%hx", 8, "0100"},     {"%x", 8, "01000000"},
               {"%x", 0, ""},         {"%lx", 4, "01000000"}, {"%lx", 8, "0100000000000000"},
               {"%f", 3, ""},         {"%e", 8, "0000803f"},  {"%lf", 8, "000000000000f03f"},
               {"%lE", 7, "0000803f"}};
  for (const auto& c : cases) {
    unsigned char bytes[8] = {};
    const std::string stored = c.stored, whole = stored + std::string(16 - stored.size(), 'e');
    memset(bytes, 0xEE, sizeof(bytes));
    EXPECT_EQ(V_sscanf("1", c.format, bytes, c.size), 1) << c.format;
    EXPECT_EQ(orca_pdk_4_4::CFiStringTool::binary2str(bytes, 8), whole) << c.format << c.size;
  }
}

TEST(Scan, StoresWhatFitsOfTheRunThatItConsumes) {
  const struct {
    const char *text, *format;
    unsigned size;
    std::string outcome;  // what is stored and the next word, or the result
  } cases[] = {{"abcd z", "%s", 4, "abc|z"},    {"abcd z", "%s", 5, "abcd|z"},
               {"abcd z", "%s", 1, "|z"},       {"abcd z", "%s", 0, "####|z"},
               {"abcd", "%3s", 3, "ab|d"},      {"abcd", "%[a-c]", 3, "ab|d"},
               {"abcd", "%3c", 0, "a###|bcd"},  {"abcd", "%*2c%c", 1, "c###|d"},
               {" a b,", "%[^,]", 9, " a b|,"}, {"x]y", "%[]x]", 9, "x]|y"},
               {"ab]c", "%[^]x]", 9, "ab|]c"},  {"a-b", "%[a-]", 9, "a-|b"},
               {"ca-b", "%[c-a]", 9, "ca-|b"},  {"dbf", "%[a-c-e]", 9, "db|f"},
               {"b-d", "%[a-c-b]", 9, "b-|d"},  {"a-a", "%[a-a]", 9, "a|-a"},
               {"xyz", "%[abc]", 9, "0"},       {"\xA9z", "%[~-\xB9]", 9, "\xA9|z"}};
  for (const auto& c : cases) {
    char word[9] = "####", rest[9] = "";
    const std::string format = std::string(c.format) + "%s";
    const int result = V_sscanf(c.text, format.c_str(), word, c.size, rest, 9);
    const std::string outcome = std::string(word) + '|' + rest;
    EXPECT_EQ(result == 2 ? outcome : std::to_string(result), c.outcome) << c.format;
  }
}

TEST(Scan, PassesOverWhatTheFormatNamesWithoutATarget) {
  int number = 0;
  EXPECT_EQ(V_sscanf("<ID=a\t %b 4>", "<ID=%[a] %%%c%d", nullptr, 9, nullptr, 1, &number, 4), 3);
  EXPECT_EQ(number, 4);
}

// Takes 4 GiB of addresses, but only 16 MiB of memory.
TEST(Scan, LosesNothingOfATextOfGigabytes) {
  constexpr size_t kSize = size_t{4} << 30, kPiece = size_t{1} << 24;
  const auto piece = fileOf(std::string(kPiece, 'x'));
  void* const memory =
      mmap(nullptr, kSize + 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  char* const text = static_cast<char*>(memory);
  for (size_t at = 0; at < kSize; at += kPiece) {
    const int access = PROT_READ | PROT_WRITE, flags = MAP_PRIVATE | MAP_FIXED | MAP_NORESERVE;
    ASSERT_EQ(mmap(text + at, kPiece, access, flags, fileno(piece.get()), 0), text + at);
  }
  std::copy_n("1e+z", 4, text + INT_MAX - 2);
  char rest[9] = "";
  EXPECT_EQ(V_sscanf(text, "%*2147483645c%*f%5s", rest, 9), 1);
  EXPECT_STREQ(rest, "e+zxx");
  munmap(memory, kSize + 1);
}

TEST(Scan, ReturnsMinusOneOnlyWhenTheTextEndsBeforeAnyConversion) {
  const struct {
    const char *text, *format;
    int result;
  } cases[] = {{" \t", "%s", -1}, {"", "a", -1},     {"", "", 0},        {"x", "y", 0},
               {"5", "%d%d", 1},  {"5", "%*d%d", 0}, {"", "%n", 0},      {"5", "%d%", -1},
               {"5", "%y", 0},    {"5x", "%d%%", 1}, {"1", nullptr, -1}, {nullptr, "%d", -1}};
  for (const auto& c : cases) {
    int first = 0, second = 0;
    EXPECT_EQ(V_sscanf(c.text, c.format, &first, 4, &second, 4), c.result) << c.format;
  }
}

int scan(V_stream* stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int assigned = V_vfscanf(stream, format, args);
  va_end(args);
  return assigned;
}

TEST(Scan, TakesAReadFunctionThatShowsNothingForTheEnd) {
  V_stream stream = {nullptr, 0, 0, nullptr, [](V_stream*) { return 0; }};
  EXPECT_EQ(scan(&stream, "%d", nullptr, 4), -1);
}

TEST(FileScan, LeavesTheFileBehindTheLastCharacterConsumed) {
  const struct {
    const char *content, *format;
    int result;
    const char* rest;
  } cases[] = {{"12 34", "%d ", 1, "34"}, {"0xz", "%i", 1, "xz"},  {"1e+z", "%f", 1, "e+z"},
               {"1e+", "%f", 1, "e+"},    {"-.z", "%f", 0, "-.z"}, {"abc", "abd", 0, "c"},
               {"", "%d", -1, ""}};
  for (const auto& c : cases) {
    const auto file = fileOf(c.content);
    V_stream stream = {nullptr, 0, 0, file.get(), __Vrefill};
    char target[16], rest[16] = "";
    EXPECT_EQ(scan(&stream, c.format, target, 16), c.result) << c.content;
    EXPECT_EQ(fgets(rest, 16, file.get()) != nullptr, *c.rest != '\0');
    EXPECT_STREQ(rest, c.rest) << c.content << " by " << c.format;
  }
}

TEST(FileScan, GoesOnWhereTheFileStands) {
  const auto file = fileOf("1 x2 0x");
  V_stream stream = {nullptr, 0, 0, file.get(), __Vrefill};
  int number = 0;
  EXPECT_EQ(scan(&stream, "%d ", &number, 4), 1);
  EXPECT_EQ(getc(file.get()), 'x');
  EXPECT_EQ(scan(&stream, "%d%i", &number, 4, nullptr, 4), 2);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(scan(&stream, "%s", nullptr, 4), 1) << "handed back at the end";
  EXPECT_EQ(scan(&stream, "%d", &number, 4), -1);
  rewind(file.get());
  stream.eof = 1;
  EXPECT_EQ(scan(&stream, "%d", &number, 4), -1) << "the end stays marked";
}

TEST(IntegerTexts, FollowTheRulesOfTheCLibrary) {
  std::istringstream texts(
      " \t\n\v\f\r-z9!,\b1,\0161,1/,9:,A@,Z[,a`,z{,1\xE1,+102,-,0xfg,-0X1,0xg,0x,08,-1,"
      "9223372036854775807,9223372036854775808,-9223372036854775808,-9223372036854775809,"
      "18446744073709551615,18446744073709551616,184467440737095516160");
  for (std::string text; std::getline(texts, text, ',');) {
    for (const int base : {0, 2, 8, 10, 16, 35, 36}) {
      SCOPED_TRACE(text + " in base " + std::to_string(base));
      const auto expectSame = [&](auto ours, auto theirs) {
        char *end = nullptr, *expectedEnd = text.data();
        errno = 0;
        const auto expected = theirs(text.c_str(), &expectedEnd, base);
        const int expectedError = std::exchange(errno, 0);
        if (expectedError == EINVAL) expectedEnd = text.data();  // sanitizers leave it unset
        EXPECT_EQ(ours(text.c_str(), &end, base), expected);
        EXPECT_EQ(errno, expectedError);
        EXPECT_STREQ(end, expectedEnd);
      };
      expectSame(__Vstrtoimax, strtoimax);
      expectSame(__Vstrtoumax, strtoumax);
    }
  }
}

TEST(IntegerTexts, NeedABaseFromTwoToThirtySix) {
  for (const int base : {-1, 1, 37}) {
    errno = 0;
    EXPECT_EQ(__Vstrtoimax("1", nullptr, base), 0) << base;
    EXPECT_EQ(errno, EINVAL) << base;
  }
}

}  // namespace
