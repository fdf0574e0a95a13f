#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "V_sscanf.h"
#include "V_strtoimax.h"
#include "V_strtoumax.h"
#include "V_vfscanf.h"

namespace {

// Scans one value of 8 bytes and the position behind it: "value@position", or the result alone.
template <class Value>
std::string scanned(const char* text, const char* format) {
  Value value = 0;
  int consumed = 0;
  const int result = V_sscanf(text, format, &value, 8, &consumed, 4);
  if (result != 1) return std::to_string(result);
  std::ostringstream out;
  out << value << '@' << consumed;
  return out.str();
}

TEST(Scan, ConvertsIntegersByTheRulesOfTheirBase) {
  const char* cases[][3] = {
      {" 42x", "%lld%n", "42@3"},  {"-7", "%lld%n", "-7@2"},      {"+0012", "%lld%n", "12@5"},
      {"0x1fg", "%lli%n", "31@4"}, {"017", "%lli%n", "15@3"},     {"0", "%lli%n", "0@1"},
      {"0xz", "%lli%n", "0@1"},    {"08", "%lli%n", "0@1"},       {"-0x10", "%lli%n", "-16@5"},
      {"ff", "%llx%n", "255@2"},   {"0XFF", "%llX%n", "255@4"},   {"778", "%llo%n", "63@2"},
      {"-1", "%llu%n", "-1@2"},    {"12345", "%3lld%n", "123@3"}, {"0x12", "%2lli%n", "0@1"},
      {"-12", "%2lld%n", "-1@2"},  {"12", "%0lld%n", "12@2"},     {"-9", "%D%n", "-9@2"},
      {"17", "%O%n", "15@2"},      {"0xabc", "%p%n", "2748@5"},   {"12", "%qd%n", "12@2"},
      {"12", "%jd%n", "12@2"},     {"12", "%td%n", "12@2"},       {"12", "%zu%n", "12@2"},
      {"x", "%lld%n", "0"},        {"-", "%lld%n", "0"},          {"-x", "%lli%n", "0"},
      {"8", "%llo%n", "0"}};
  for (const auto& [text, format, expected] : cases) {
    EXPECT_EQ(scanned<int64_t>(text, format), expected) << text << " by " << format;
  }
  EXPECT_EQ(scanned<int64_t>("-99999999999999999999", "%jd%n"), "-9223372036854775808@21");
  EXPECT_EQ(scanned<uint64_t>("99999999999999999999", "%ju%n"), "18446744073709551615@20");
}

TEST(Scan, StoresAsManyBytesAsPrefixAndSizeBothAllow) {
  const struct {
    const char* format;
    unsigned size, stored;
  } cases[] = {{"%hhx", 8, 1}, {"%hx", 8, 2}, {"%x", 8, 4},  {"%lx", 8, 8}, {"%lx", 4, 4},
               {"%x", 2, 2},   {"%x", 0, 0},  {"%Lx", 8, 8}, {"%Lx", 4, 4}, {"%p", 4, 4}};
  for (const auto& c : cases) {
    unsigned char bytes[8];
    memset(bytes, 0xEE, sizeof(bytes));
    EXPECT_EQ(V_sscanf("0", c.format, bytes, c.size), 1);
    for (unsigned i = 0; i < 8; ++i) EXPECT_EQ(bytes[i], i < c.stored ? 0 : 0xEE) << c.format << i;
  }
}

TEST(Scan, ConvertsFloatingNumbers) {
  const char* cases[][2] = {
      {"3.25", "3.25@4"}, {" -.5e1z", "-5@6"}, {"7.", "7@2"}, {"1e3", "1000@3"},   {"1e+x", "1@1"},
      {"2ez", "2@1"},     {".", "0"},          {"-.e5", "0"}, {"1E-2 ", "0.01@4"}, {"x", "0"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(scanned<double>(text, "%lf%n"), expected);
  float single = 0;
  long double wide = 0;
  float narrowed[2] = {0, 77};
  EXPECT_EQ(V_sscanf("1.5 2.5 3.5", "%e %LG %lf", &single, 4, &wide, 16, narrowed, 4), 3);
  EXPECT_EQ(single, 1.5F);
  EXPECT_EQ(wide, 2.5L);
  EXPECT_EQ(narrowed[0], 3.5F);
  EXPECT_EQ(narrowed[1], 77);
}

TEST(Scan, StoresWhatFitsOfAWordAndConsumesAllOfIt) {
  const struct {
    const char* format;
    unsigned size;
    const char *stored, *rest;
  } cases[] = {{"%s%s", 4, "abc", "next"},   {"%s%s", 7, "abcdef", "next"}, {"%s%s", 1, "", "next"},
               {"%s%s", 0, "####", "next"},  {"%2s%s", 9, "ab", "cdef"},    {"%5s%s", 3, "ab", "f"},
               {"%[a-c]%s", 3, "ab", "def"}, {"%0s%s", 9, "abcdef", "next"}};
  for (const auto& c : cases) {
    char word[9] = "####";
    char rest[9] = "";
    EXPECT_EQ(V_sscanf("abcdef next", c.format, word, c.size, rest, 9), 2) << c.format;
    EXPECT_STREQ(word, c.stored) << c.format;
    EXPECT_STREQ(rest, c.rest) << c.format;
  }
}

TEST(Scan, ReadsScanSetsWithInversionRangesAndLiteralBrackets) {
  const char* cases[][3] = {{"%[abc]", "cabx", "cab"},
                            {"%[^,]", " a b,c", " a b"},
                            {"%[]x]", "x]y", "x]"},
                            {"%[^]x]", "ab]c", "ab"},
                            {"%[a-]", "a-b", "a-"},
                            {"%[-a]", "-ab", "-a"},
                            {"%[c-a]", "ca-b", "ca-"},
                            {"%[a-c-e]", "edcbaf", "edcba"},
                            {"%[0-9a-f]", "12efg", "12ef"},
                            {"%[ab", "abc", "ab"},
                            {"%[^", "a b", "a b"},
                            {"%2[a-z]", "abc", "ab"},
                            {"%[\x80-\xff]", "\xc3\xa9z", "\xc3\xa9"},
                            {"%[abc]", "x", "#0"},
                            {"%[", "x", "#0"},
                            {"%[abc]", "", "#-1"}};
  for (const auto& [format, text, expected] : cases) {
    char out[16] = "#";
    const int result = V_sscanf(text, format, out, 16);
    EXPECT_EQ(result == 1 ? out : out + std::to_string(result), expected) << format;
  }
}

TEST(Scan, AssignsOneCharacterWhateverTheWidthAndSkipsAsManyAsTheWidth) {
  char out[4] = "###";
  char next[4] = "";
  EXPECT_EQ(V_sscanf("xyz", "%3c%s", out, 0, next, 4), 2);
  EXPECT_STREQ(out, "x##");
  EXPECT_STREQ(next, "yz");
  EXPECT_EQ(V_sscanf(" bcd", "%*c%c%*2c%c", out, 1, next, 1), 1);
  EXPECT_STREQ(out, "b##");
  EXPECT_EQ(V_sscanf("abcd", "%*2c%c%c", out, 1, next, 1), 2);
  EXPECT_EQ(std::string({out[0], next[0]}), "cd");
}

TEST(Scan, MatchesLiteralsWhiteSpaceAndPercentSigns) {
  char id[1024];
  int severity = 0;
  EXPECT_EQ(V_sscanf("<MSG  ID=V-5-1 SEV=\t3>", "<MSG ID=%s SEV=%d>", id, 1024, &severity, 4), 2);
  EXPECT_STREQ(id, "V-5-1");
  EXPECT_EQ(severity, 3);
  EXPECT_EQ(V_sscanf("50%9", "%d%%%d", &severity, 4, id, 4), 2);
  EXPECT_EQ(V_sscanf("50x9", "%d%%%d", &severity, 4, id, 4), 1);
  EXPECT_EQ(V_sscanf("7 8", "%*d%d", &severity, 4), 1);
  EXPECT_EQ(severity, 8);
}

TEST(Scan, ReturnsMinusOneOnlyWhenTheTextEndsBeforeAnyConversion) {
  const struct {
    const char *text, *format;
    int result;
  } cases[] = {{"", "%d", -1},   {" \t", "%s", -1}, {"", "a", -1},     {"", "", 0},
               {"x", "y", 0},    {"5", "%d%d", 1},  {"5", "%*d%d", 0}, {"5", "%d%", -1},
               {"5", "%5l", -1}, {"5", "%y", 0},    {"", "%n", 0},     {"", " ", 0}};
  for (const auto& c : cases) {
    int first = 0, second = 0;
    EXPECT_EQ(V_sscanf(c.text, c.format, &first, 4, &second, 4), c.result) << c.format;
  }
  EXPECT_EQ(V_sscanf(nullptr, "%d"), -1);
  EXPECT_EQ(V_sscanf("1", nullptr), -1);
}

TEST(Scan, PassesOverNullTargets) {
  int last = 0;
  EXPECT_EQ(V_sscanf("a b 1 4", "%s %c %d %d", nullptr, 9, nullptr, 1, nullptr, 4, &last, 4), 4);
  EXPECT_EQ(last, 4);
}

TEST(Scan, ReadsTextsLongerThanAnIntCounts) {
  constexpr size_t kPiece = size_t{1} << 24;
  constexpr size_t kPieces = 129;
  const int fd = memfd_create("text", MFD_CLOEXEC);
  ASSERT_GE(fd, 0);
  const std::string piece(kPiece, 'a');
  ASSERT_EQ(write(fd, piece.data(), kPiece), static_cast<ssize_t>(kPiece));
  constexpr size_t kWhole = kPiece * kPieces + 4096;  // the last page stays zero
  char* text = static_cast<char*>(
      mmap(nullptr, kWhole, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
  ASSERT_NE(text, MAP_FAILED);
  for (size_t i = 0; i < kPieces; ++i) {
    ASSERT_NE(mmap(text + i * kPiece, kPiece, PROT_READ, MAP_SHARED | MAP_FIXED, fd, 0),
              MAP_FAILED);
  }
  uint64_t consumed = 0;
  char end[8] = "";
  EXPECT_EQ(V_sscanf(text, "%*2164260859c%ln%s", &consumed, 8, end, 8), 1);
  EXPECT_EQ(consumed, 2164260859U);
  EXPECT_STREQ(end, "aaaaa");
  munmap(text, kWhole);
  close(fd);
}

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};

class FileScan : public testing::Test {
 protected:
  // A scan of a file with this content, unbuffered on demand.
  void open(const char* content, int mode = _IOFBF) {
    m_file.reset(tmpfile());
    setvbuf(m_file.get(), nullptr, mode, mode == _IONBF ? 0 : BUFSIZ);
    fputs(content, m_file.get());
    rewind(m_file.get());
    m_stream = {nullptr, 0, 0, m_file.get(), __Vrefill};
  }
  int scan(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int assigned = V_vfscanf(&m_stream, format, args);
    va_end(args);
    return assigned;
  }
  std::string rest() {
    std::string text;
    for (int c = getc(m_file.get()); c != EOF; c = getc(m_file.get())) text += static_cast<char>(c);
    return text;
  }

  std::unique_ptr<FILE, CloseFile> m_file;
  V_stream m_stream = {};
};

TEST_F(FileScan, LeavesTheFileBehindTheLastCharacterConsumed) {
  const struct {
    const char *content, *format;
    int result;
    const char* rest;
  } cases[] = {{"12 34", "%d", 1, " 34"}, {"12 34", "%d ", 1, "34"},
               {"0xz", "%i", 1, "xz"},    {"0x", "%i", 1, "x"},
               {"1e+z", "%f", 1, "e+z"},  {"1e+", "%f", 1, "e+"},
               {"-.z", "%f", 0, "-.z"},   {"abc", "abd", 0, "c"},
               {"x", "%d", 0, "x"},       {"word next", "%s", 1, " next"},
               {"", "%d", -1, ""},        {"12", "%d", 1, ""}};
  for (const int mode : {_IOFBF, _IONBF}) {
    for (const auto& c : cases) {
      open(c.content, mode);
      char target[16];
      EXPECT_EQ(scan(c.format, target, 16), c.result) << c.content;
      EXPECT_EQ(rest(), c.rest) << c.content << " by " << c.format;
    }
  }
}

TEST_F(FileScan, GoesOnWhereTheFileStandsAlsoAfterOthersReadFromIt) {
  open("1 x2 3");
  int first = 0, second = 0;
  EXPECT_EQ(scan("%d ", &first, 4), 1);
  EXPECT_EQ(getc(m_file.get()), 'x');
  EXPECT_EQ(scan("%d%d", &first, 4, &second, 4), 2);
  EXPECT_EQ(first * 10 + second, 23);
  EXPECT_EQ(scan("%d", &first, 4), -1);
  EXPECT_NE(m_stream.eof, 0);
  open("0x");
  char word[4] = "";
  EXPECT_EQ(scan("%i", &first, 4), 1);
  EXPECT_EQ(scan("%s", word, 4), 1) << "a character handed back at the end can be read again";
  EXPECT_STREQ(word, "x");
}

TEST_F(FileScan, RefillShowsTheNextCharacterAndFlushesOutput) {
  open("ab");
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  std::unique_ptr<FILE, CloseFile> output(fdopen(pipeEnds[1], "w"));
  fputs("out", output.get());
  ASSERT_EQ(__Vrefill(&m_stream), 0);
  char written[4] = "";
  EXPECT_EQ(read(pipeEnds[0], written, 3), 3);
  close(pipeEnds[0]);
  EXPECT_EQ(m_stream.r, 1);
  EXPECT_EQ(*m_stream.p, 'a');
  ++m_stream.p;
  --m_stream.r;
  ASSERT_EQ(__Vrefill(&m_stream), 0);
  EXPECT_EQ(*m_stream.p, 'b');
  EXPECT_EQ(rest(), "b");
  m_stream.eof = 1;
  rewind(m_file.get());
  EXPECT_EQ(__Vrefill(&m_stream), -1);
}

TEST(IntegerTexts, FollowTheRulesOfTheCLibrary) {
  const struct {
    const char* text;
    int base;
    intmax_t value;
    int length;
    int error;
  } cases[] = {{" \t-12z", 10, -12, 5, 0}, {"0x1F", 0, 31, 4, 0}, {"0x", 16, 0, 1, 0},
               {"z9", 36, 1269, 2, 0},     {"+", 10, 0, 0, 0},    {"12", 1, 0, 0, EINVAL},
               {"12", 37, 0, 0, EINVAL},   {"0b1", 0, 0, 1, 0},   {"102", 2, 2, 2, 0}};
  for (const auto& c : cases) {
    char* end = nullptr;
    errno = 0;
    EXPECT_EQ(__Vstrtoimax(c.text, &end, c.base), c.value) << c.text;
    EXPECT_EQ(end - c.text, c.length) << c.text;
    EXPECT_EQ(errno, c.error) << c.text;
  }
}

TEST(IntegerTexts, OutOfRangeGiveTheNearestValueAndERANGE) {
  const auto error = [](auto convert, const char* text, auto expected) {
    errno = 0;
    EXPECT_EQ(convert(text, nullptr, 10), expected) << text;
    return errno;
  };
  EXPECT_EQ(error(__Vstrtoimax, "9223372036854775807", INTMAX_MAX), 0);
  EXPECT_EQ(error(__Vstrtoimax, "9223372036854775808", INTMAX_MAX), ERANGE);
  EXPECT_EQ(error(__Vstrtoimax, "-9223372036854775808", INTMAX_MIN), 0);
  EXPECT_EQ(error(__Vstrtoimax, "-9223372036854775809", INTMAX_MIN), ERANGE);
  EXPECT_EQ(error(__Vstrtoumax, "-2", UINTMAX_MAX - 1), 0);
  EXPECT_EQ(error(__Vstrtoumax, "18446744073709551615", UINTMAX_MAX), 0);
  EXPECT_EQ(error(__Vstrtoumax, "-18446744073709551616", UINTMAX_MAX), ERANGE);
}

}  // namespace
